#pragma once

#include <cstdint>
#include <functional>

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"
#include "workflow/Image.h"
#include "workflow/Transform.h"

namespace voxreg {

/// Tells where places of the reference are found in the model, each in its image's own frame: a
/// Transform for those who sample volumes by the library's classes.
class PlaceMap {
 public:
  /// Finds `n` places at once.
  using Many = std::function<void(const NmVec3d* places, std::int64_t n, NmVec3d* found)>;

  /// Every place is found where it is.
  PlaceMap();

  /// Between two images that are not empty.
  PlaceMap(const Transform& transform, const Image& reference, const Image& model);

  void operator()(const NmVec3d* places, std::int64_t n, NmVec3d* found) const {
    many_(places, n, found);
  }
  NmVec3f operator()(const NmVec3f& place) const;

 private:
  Many many_;
};

/// A matrix from model to reference between the worlds as one between the images' frames, and back.
/// Row vectors.
NmMat4d worldToFrames(const NmMat4d& world, const Image& reference, const Image& model);
NmMat4d framesToWorld(const NmMat4d& frames, const Image& reference, const Image& model);

}  // namespace voxreg
