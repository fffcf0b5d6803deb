#pragma once

#include <vector>

#include "foundation/NmMat4d.h"
#include "foundation/voxels/volumeFrame.h"
#include "variational/ControlLattice.h"
#include "variational/kernels/derivativeWalk.h"

namespace voxreg::detail {

/// The tables behind a TensorMap from the voxels of a reference to those of a model.
class TensorTables {
 public:
  /// The controls of a matrix map: of the first voxel's position, and of a step along each axis.
  static constexpr int shiftControl = 0;
  static constexpr int axisControl[3] = {1, 4, 16};

  /// Of matrices.
  explicit TensorTables(const VolumeFrame& reference);

  /// Of lattices of one shape, on top of a matrix.
  TensorTables(const VolumeFrame& reference, const ControlLattice& shape);

  TensorTables(const TensorTables&) = delete;
  TensorTables& operator=(const TensorTables&) = delete;

  /// Maps x to x * matrix, both in world units.
  void setMatrix(const NmMat4d& referenceToModel, const VolumeFrame& model);

  /// Maps x to x * matrix plus the displacement at x.
  void setLattice(const NmMat4d& referenceToModel, const ControlLattice& lattice,
                  const VolumeFrame& model);

  const TensorMap& map() const { return map_; }
  std::int64_t controlCount() const;  ///< of one component

 private:
  void shareTables();

  VolumeFrame reference_;
  std::vector<int> cell_[3];
  std::vector<double> weights_[3];
  std::vector<double> local_;
  std::vector<double> controls_;
  TensorMap map_ = {};
};

}  // namespace voxreg::detail
