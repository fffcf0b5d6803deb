#pragma once

#include <cstdint>
#include <functional>

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"
#include "workflow/Image.h"
#include "workflow/Transform.h"

namespace voxreg {

/// Maps positions in the reference to positions in the model, each in its image's own frame: a
/// Transform for code that samples volumes with the library's classes.
class PointMap {
 public:
  /// Maps `n` positions at once.
  using Many = std::function<void(const NmVec3d* points, std::int64_t n, NmVec3d* found)>;

  /// The identity.
  PointMap();

  /// Requires two non-empty images.
  PointMap(const Transform& transform, const Image& reference, const Image& model);

  /// Requires a frame of the reference and the matrix of one of the model.
  PointMap(const Transform& transform, const ImageFrame& reference, const NmMat4d& modelToWorld);

  void operator()(const NmVec3d* points, std::int64_t n, NmVec3d* found) const {
    many_(points, n, found);
  }
  NmVec3f operator()(const NmVec3f& point) const;

 private:
  Many many_;
};

/// Converts a matrix from model to reference between world frames and image frames, either way. Row
/// vectors.
NmMat4d worldToFrames(const NmMat4d& world, const Image& reference, const Image& model);
NmMat4d framesToWorld(const NmMat4d& frames, const Image& reference, const Image& model);

}  // namespace voxreg
