#pragma once

#include <optional>

class VlData;

namespace voxreg::detail {

/// Share of the reference that the model's extents can cover at best; 1.0 where the reference has
/// no volume. An axis without extent is left out where it is the flat one.
double coverageByExtent(const VlData& reference, const VlData& model, int flatAxis);

/// Share of a volume's voxels whose first data variable lies in the closed range; nothing for a
/// volume that cannot be locked. A row that cannot be read counts as in range.
std::optional<double> shareInRange(VlData& volume, float min, float max);

}  // namespace voxreg::detail
