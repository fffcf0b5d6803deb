#pragma once

#include "workflow/DisplacementMap.h"

namespace voxreg::detail {

/// A map with a field that can be evaluated, between two frames, for many points. The map must
/// outlive it and stay where it is.
class FieldPoints {
 public:
  /// From a frame of the reference to one of the model; by default their worlds.
  explicit FieldPoints(const DisplacementMap& map, const NmMat4d& referenceToWorld = {},
                       const NmMat4d& worldToModel = {});

  NmVec3d at(const NmVec3d& point) const;
  NmMat4d jacobian(const NmVec3d& point) const;

 private:
  const DisplacementField* field_;
  NmMat4d toNodes_;
  NmMat4d linear_;   ///< the map without displacement
  NmMat4d turning_;  ///< of displacements, to the model's frame
};

}  // namespace voxreg::detail
