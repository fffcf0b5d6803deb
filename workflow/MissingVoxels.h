#pragma once

#include <cstdint>
#include <optional>

#include "workflow/Image.h"

namespace voxreg {

// Voxels without a finite value, in the single precision of value ranges, are missing.

struct ValueRange {
  double smallest;
  double largest;
};

/// Of the voxels that are not missing; nothing where all of them are.
std::optional<ValueRange> finiteRange(const Image& volume);

std::int64_t countMissing(const Image& volume);

/// What a search sees of a volume: missing voxels hold the smallest value of the others, as if they
/// were background. (A histogram takes NaN for its lowest value anyway; other metrics, and the
/// filters that make coarse levels, would lose all that lies around.) The volume itself where
/// nothing is missing, or everything. Throws NmMemoryException.
Image withMissingFilled(const Image& volume);

}  // namespace voxreg
