#pragma once

#include <cstdint>

#include "foundation/NmBox.h"
#include "workflow/LatticeMap.h"

namespace voxreg::detail {

/// A valid lattice map between two frames, for many points: about as fast along a row as a matrix
/// if the frame's first axis is one of the lattice's. The result for a point does not depend on the
/// others.
class LatticePoints {
 public:
  /// From a frame of the reference to one of the model. Positions in `box`, in the reference's
  /// frame, are accurate to 1e-10 of an interval.
  LatticePoints(const LatticeMap& map, const NmMat4d& referenceToWorld, const NmBox3f& box,
                const NmMat4d& worldToModel);

  void operator()(const NmVec3d* points, std::int64_t n, NmVec3d* found) const;

 private:
  ControlLattice lattice_;  ///< axes in the order of the points' ones, values in the model's frame
  NmMat4d toIntervals_;
  NmMat4d linear_;  ///< the map without displacement
};

}  // namespace voxreg::detail
