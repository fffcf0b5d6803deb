#pragma once

#include "workflow/Image.h"

namespace voxreg::detail {

/// A pair as a search sees it: with the axes closest to the world's and of the same handedness, and
/// with no missing voxels. Images that already meet this are shared.
struct SearchedPair {
  Image reference;
  Image model;
};

/// The image with the axes closest to the world's; the image itself if they are.
Image alongTheWorld(const Image& image);

/// Throws Refusal for an empty image, and NmMemoryException.
SearchedPair searchedPair(const Image& reference, const Image& model);

}  // namespace voxreg::detail
