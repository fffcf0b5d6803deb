#pragma once

#include <string>
#include <vector>

#include "workflow/Image.h"
#include "workflow/Transform.h"

namespace voxreg {

/// What two volumes share under a transform.
struct Overlap {
  double share = 0.0;            ///< of the reference's voxels at which the model has a value
  bool referenceVaries = false;  ///< in the overlap: the volume's values are not all equal
  bool modelVaries = false;

  /// Why the overlap does not allow any transform to be judged; empty if it does.
  std::string lack() const;

  /// What a user should check.
  std::vector<std::string> warnings() const;
};

/// Zero for images that are empty or cannot be read.
Overlap overlapOf(const Image& reference, const Image& model, const Transform& transform);

}  // namespace voxreg
