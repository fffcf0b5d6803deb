#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"
#include "workflow/BrickGrid.h"

namespace voxreg {

/// A map from places of the reference to the places of the model that show the same, both in world
/// millimetres: the identity, a matrix, a grid of bricks, or several of them one after the other. A
/// value; copies are cheap. Matrices are for row vectors and must have an inverse.
class Transform {
 public:
  /// The identity.
  Transform() = default;

  /// By a matrix that takes the model's world to the reference's, as matrix files and
  /// RegVoxelRegistration have it, or the other way round.
  static Transform fromModelToReference(const NmMat4d& matrix);
  static Transform fromReferenceToModel(const NmMat4d& matrix);

  /// Where the grid is not valid, the places are NaN.
  static Transform fromBricks(const BrickGrid& bricks);

  /// The place in the model of one in the reference.
  NmVec3d operator()(const NmVec3d& point) const;

  /// From the model to the reference. That of a grid of bricks is found anew for each point by
  /// Newton's method, so that the point comes back to within a millionth of a millimetre (or 1e-12
  /// of its own distance from the world's origin). Where the grid folds it is one of several
  /// places; NaN where the search ends without one.
  Transform inverse() const;

  /// First this, then `next`.
  Transform then(const Transform& next) const;

  /// How the place in the model changes with that in the reference, in the upper 3 x 3: a small
  /// step d goes to d * jacobian (row vectors). Its determinant, NmMat4d::det3, is the growth of
  /// volumes.
  NmMat4d jacobian(const NmVec3d& point) const;

  /// The matrix of a transform that consists of none but matrices.
  std::optional<NmMat4d> modelToReference() const;
  std::optional<NmMat4d> referenceToModel() const;

  /// The grid of a transform that is one grid of bricks; otherwise null.
  const BrickGrid* bricks() const;

 private:
  /// A grid, or a matrix where there is none.
  struct Step {
    NmMat4d forward;
    NmMat4d backward;
    std::shared_ptr<const BrickGrid> bricks;
    bool isInverse = false;  ///< of the grid

    NmVec3d at(const NmVec3d& point) const;
    NmMat4d jacobian(const NmVec3d& point) const;
    Step inverse() const;
  };

  void append(const Step& step);

  std::vector<Step> steps_;  ///< in their order; matrices do not follow one another
};

}  // namespace voxreg
