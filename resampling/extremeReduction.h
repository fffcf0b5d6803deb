#pragma once

class NmProgressInterface;
class VlData;

namespace voxreg::detail {

struct ZoomShape;

enum class Extreme { minimum, maximum };

/// Gives each voxel of `target` the smallest or largest value among the source voxels of its cell.
/// A cell without voxels takes the most extreme float of the other end, as putRow converts it.
/// Progress counts the target's slices in a task of its own; an interruption leaves the slices that
/// follow unwritten. False where a lock fails.
bool reduceToExtremes(VlData& source, VlData& target, const ZoomShape& shape, Extreme extreme,
                      NmProgressInterface* progress);

}  // namespace voxreg::detail
