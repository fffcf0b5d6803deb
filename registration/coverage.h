#pragma once

#include <optional>

class VlData;

namespace voxreg::detail {

/// Largest share of the reference that the model's extents can cover; 1.0 if the reference has no
/// volume. A flat axis without extent is ignored.
double coverageByExtent(const VlData& reference, const VlData& model, int flatAxis);

/// Share of a volume's voxels whose first data variable is in the closed range; nothing for a
/// volume that cannot be locked. A row that cannot be read counts as in range.
std::optional<double> shareInRange(VlData& volume, float min, float max);

}  // namespace voxreg::detail
