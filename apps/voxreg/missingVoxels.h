#pragma once

#include <optional>

#include "niftiVolume.h"

namespace host {

// Voxels without a finite value, in the single precision of value ranges, are missing.

struct ValueRange {
  double smallest;
  double largest;
};

/// Of the voxels that are not missing; nothing where all of them are.
std::optional<ValueRange> finiteRange(const NiftiVolume& volume);

long countMissing(const NiftiVolume& volume);

/// What a search sees of a volume: missing voxels hold the smallest value of the others, as if they
/// were background. (A histogram takes NaN for its lowest value anyway; other metrics, and the
/// filters that make coarse levels, would lose all that lies around.) The volume itself where
/// nothing is missing, or everything.
NiftiVolume withMissingFilled(const NiftiVolume& volume);

}  // namespace host
