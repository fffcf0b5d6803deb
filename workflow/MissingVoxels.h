#pragma once

#include <cstdint>
#include <optional>

#include "workflow/Image.h"

namespace voxreg {

// Voxels are missing if their value is not finite in the single precision of value ranges.

struct ValueRange {
  double smallest;
  double largest;
};

/// Of the voxels that are not missing; nothing if all are missing.
std::optional<ValueRange> finiteRange(const Image& volume);

std::int64_t countMissing(const Image& volume);

/// A volume as the search sees it: missing voxels hold the smallest value of the others, as if they
/// were background. (A histogram assigns NaN to its lowest bin anyway; other metrics, and the
/// filters that make coarse levels, would lose the surrounding voxels too.) Returns the volume
/// itself if no voxel is missing, or all are. Throws NmMemoryException.
Image withMissingFilled(const Image& volume);

}  // namespace voxreg
