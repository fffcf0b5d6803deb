#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"
#include "workflow/BrickGrid.h"
#include "workflow/DisplacementMap.h"
#include "workflow/LatticeMap.h"

namespace voxreg {

namespace detail {
class Deformation;
}

/// A map from positions in the reference to the corresponding positions in the model, both in world
/// millimetres: the identity, a matrix, a grid of bricks, a lattice, a field, or a composition of
/// these. A value type; copies are cheap. Matrices are for row vectors and must be invertible.
class Transform {
 public:
  /// The identity.
  Transform() = default;

  /// From a matrix that maps the model's world to the reference's, as in matrix files and
  /// RegVoxelRegistration, or the other way round.
  static Transform fromModelToReference(const NmMat4d& matrix);
  static Transform fromReferenceToModel(const NmMat4d& matrix);

  /// If the grid or the map is not valid, results are NaN.
  static Transform fromBricks(const BrickGrid& bricks);
  static Transform fromLattice(const LatticeMap& lattice);
  static Transform fromField(DisplacementMap field);

  /// The position in the model of a position in the reference.
  NmVec3d operator()(const NmVec3d& point) const;

  /// From the model to the reference. The inverse of a grid of bricks, a lattice or a field is
  /// computed for each point by Newton's method, such that mapping the result gives the point
  /// within a millionth of a millimetre (or 1e-12 of its distance from the world's origin). If the
  /// map folds, it is one of several solutions; NaN if the iteration does not converge.
  Transform inverse() const;

  /// This transform followed by `next`.
  Transform then(const Transform& next) const;

  /// Derivative of the position in the model with respect to that in the reference, in the upper 3
  /// x 3: a small step d maps to d * jacobian (row vectors). Its determinant, NmMat4d::det3, is the
  /// change of volume.
  NmMat4d jacobian(const NmVec3d& point) const;

  /// The matrix of a transform that consists only of matrices.
  std::optional<NmMat4d> modelToReference() const;
  std::optional<NmMat4d> referenceToModel() const;

  /// The grid of a transform that is one grid of bricks, the map of one that is one lattice or one
  /// field; otherwise null. They live as long as the transform or a copy of it.
  const BrickGrid* bricks() const;
  const LatticeMap* lattice() const;
  const DisplacementMap* field() const;

 private:
  /// A deformation or, if there is none, a matrix.
  struct Step {
    NmMat4d forward;
    NmMat4d backward;
    std::shared_ptr<const detail::Deformation> deformation;
    bool isInverse = false;  ///< the deformation is inverted

    NmVec3d at(const NmVec3d& point) const;
    NmMat4d jacobian(const NmVec3d& point) const;
    Step inverse() const;
  };

  void append(const Step& step);
  const detail::Deformation* onlyDeformation() const;

  std::vector<Step> steps_;  ///< in order; never two matrices in succession
};

}  // namespace voxreg
