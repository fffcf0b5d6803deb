#pragma once

#include <string>
#include <vector>

#include "workflow/Image.h"
#include "workflow/Transform.h"

namespace voxreg {

/// What two volumes have in common under a transform.
struct Overlap {
  double share = 0.0;            ///< of the reference's voxels that the model has a value for
  bool referenceVaries = false;  ///< there: not all values of the volume are the same
  bool modelVaries = false;

  /// Why no transform can be judged by it; empty where one can.
  std::string lack() const;

  /// What a user ought to look at.
  std::vector<std::string> warnings() const;
};

/// Zero for images that are empty or cannot be read.
Overlap overlapOf(const Image& reference, const Image& model, const Transform& transform);

}  // namespace voxreg
