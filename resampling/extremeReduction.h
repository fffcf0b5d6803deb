#pragma once

class NmProgressInterface;
class VlData;

namespace voxreg::detail {

struct ZoomShape;

enum class Extreme { minimum, maximum };

/// Gives each voxel of `target` the smallest or largest value among the source voxels of its cell.
/// A cell without voxels takes the most extreme float of the opposite sign, as converted by putRow.
/// Progress counts the target's slices in a separate task; an interruption leaves the remaining
/// slices unwritten. Returns false if a lock fails.
bool reduceToExtremes(VlData& source, VlData& target, const ZoomShape& shape, Extreme extreme,
                      NmProgressInterface* progress);

}  // namespace voxreg::detail
