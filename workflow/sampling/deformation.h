#pragma once

#include <memory>

#include "workflow/BrickGrid.h"
#include "workflow/DisplacementMap.h"
#include "workflow/LatticeMap.h"

namespace voxreg::detail {

/// A map from the reference's world to the model's that a matrix cannot express.
class Deformation {
 public:
  virtual ~Deformation() = default;

  virtual NmVec3d at(const NmVec3d& point) const = 0;
  virtual NmMat4d jacobian(const NmVec3d& point) const = 0;  ///< as that of a Transform

  /// A position in the reference from which to look for the one that maps to `target`.
  virtual NmVec3d guess(const NmVec3d& target) const = 0;

  /// What it is made of; null for all other kinds.
  virtual const BrickGrid* bricks() const { return nullptr; }
  virtual const LatticeMap* lattice() const { return nullptr; }
  virtual const DisplacementMap* field() const { return nullptr; }
};

std::shared_ptr<const Deformation> deformationOf(const BrickGrid& bricks);
std::shared_ptr<const Deformation> deformationOf(const LatticeMap& lattice);
std::shared_ptr<const Deformation> deformationOf(DisplacementMap field);

/// The position in the reference's world that maps to `point`, by Newton's method; NaN if the
/// search does not converge (see Transform::inverse).
NmVec3d inverseOf(const Deformation& deformation, const NmVec3d& point);

}  // namespace voxreg::detail
