#pragma once

#include <voxreg.h>

#include <vector>

#include "OutputFiles.h"
#include "niftiVolume.h"

namespace host {

/// A transform on a grid of bricks, from places of the reference's world to those of the model's
/// that show the same.
struct GridTransform {
  using Grid = RegNonAffineTransform::NonAffineTransformDescriptor;

  /// What holds beyond the box: the outermost bricks, or the displacement of its nearest point.
  enum class Beyond { bricks, displacement };

  Grid grid;           ///< the box in a frame of its own, the vertices in the model's world
  NmMat4d boxToWorld;  ///< from that frame to the reference's world, row vectors
  Beyond beyond = Beyond::bricks;

  /// From a result of the library, whose box and vertices stand in the volumes' own frames.
  static GridTransform fromFrames(const Grid& frames, const NiftiVolume& reference,
                                  const NiftiVolume& model, Beyond beyond = Beyond::bricks);

  /// The map of a matrix from model world to reference world, on a single brick around the
  /// reference, as a start for the library.
  static Grid start(const NmMat4d& modelToReference, const NiftiVolume& reference,
                    const NiftiVolume& model);

  /// Where a place of the reference's world, or one of the box's frame, is found in the model's
  /// world.
  NmVec3d ofWorld(const NmVec3d& point) const;
  NmVec3d ofBox(const NmVec3d& point) const;

  /// The smallest value of the Jacobian's determinant, or of its reciprocal, at the points where
  /// the library measures it.
  double smallestJacobian() const;

 private:
  NmVec3d byBricks(const NmVec3d& point) const;
};

/// Reads or writes a transform as JSON. Both throw HostError.
GridTransform readGridTransform(const std::string& path);
void writeGridTransform(OutputFiles& outputs, const std::string& path,
                        const GridTransform& transform);

}  // namespace host
