#pragma once

#include "workflow/Image.h"

namespace voxreg::detail {

/// A pair as a search sees it: the axes nearest to the world's and of one handedness, and no voxel
/// missing. Images that are so already are shared.
struct SearchedPair {
  Image reference;
  Image model;
};

/// Throws Refusal for an empty image, and NmMemoryException.
SearchedPair searchedPair(const Image& reference, const Image& model);

}  // namespace voxreg::detail
