#include "variational/objective/tensorTables.h"

#include "variational/objective/voxelMatrix.h"
#include "variational/splineWeights.h"

namespace voxreg::detail {

TensorTables::TensorTables(const VolumeFrame& reference) : reference_(reference) {
  for (int axis = 0; axis < 3; ++axis) {
    map_.axes[axis].numControls = 4;
    const int n = reference.dims[axis] + groupSize;
    for (int i = 0; i < n; ++i) {
      cell_[axis].push_back(0);
      weights_[axis].insert(weights_[axis].end(), {1.0, static_cast<double>(i), 0.0, 0.0});
      if (axis == 0) local_.push_back(i);
    }
  }
  for (int k = 0; k < 2; ++k) map_.toPowers[k][k] = 1.0;
  shareTables();
}

TensorTables::TensorTables(const VolumeFrame& reference, const ControlLattice& shape)
    : reference_(reference) {
  for (int axis = 0; axis < 3; ++axis) {
    map_.axes[axis].numControls = shape.controlsAlong(axis);
    const int n = reference.dims[axis];
    for (int i = 0; i < n + groupSize; ++i) {
      const bool isBeyond = i >= n;
      double t;
      const int cell = splineCell(
          shape, axis, static_cast<double>(reference.position(axis, isBeyond ? n - 1 : i)), t);
      double weights[4];
      splineWeights(t, weights);
      cell_[axis].push_back(cell);
      weights_[axis].insert(weights_[axis].end(), weights, weights + 4);
      if (axis == 0) local_.push_back(t);
    }
  }
  constexpr double powers[4][4] = {{1.0 / 6, 4.0 / 6, 1.0 / 6, 0.0},
                                   {-0.5, 0.0, 0.5, 0.0},
                                   {0.5, -1.0, 0.5, 0.0},
                                   {-1.0 / 6, 0.5, -0.5, 1.0 / 6}};
  for (int k = 0; k < 4; ++k)
    for (int a = 0; a < 4; ++a) map_.toPowers[k][a] = powers[k][a];
  shareTables();
}

void TensorTables::shareTables() {
  for (int axis = 0; axis < 3; ++axis) {
    map_.axes[axis].cell = cell_[axis].data();
    map_.axes[axis].weights = weights_[axis].data();
  }
  map_.axes[0].local = local_.data();
  controls_.assign(static_cast<std::size_t>(3 * controlCount()), 0.0);
  map_.controls = controls_.data();
}

std::int64_t TensorTables::controlCount() const {
  return std::int64_t{map_.axes[0].numControls} * map_.axes[1].numControls *
         map_.axes[2].numControls;
}

void TensorTables::setMatrix(const NmMat4d& referenceToModel, const VolumeFrame& model) {
  const VoxelMatrix matrix = voxelMatrix(referenceToModel, reference_, model);
  for (int c = 0; c < 3; ++c) {
    double* const controls = controls_.data() + controlCount() * c;
    controls[shiftControl] = matrix.start[c];
    for (int axis = 0; axis < 3; ++axis) controls[axisControl[axis]] = matrix.step[axis][c];
  }
}

void TensorTables::setLattice(const NmMat4d& referenceToModel, const ControlLattice& lattice,
                              const VolumeFrame& model) {
  const NmMat4d& m = referenceToModel;
  const std::int64_t count = lattice.controlCount();
  std::int64_t at = 0;
  for (int k = 0; k < lattice.controlsAlong(2); ++k)
    for (int j = 0; j < lattice.controlsAlong(1); ++j)
      for (int i = 0; i < lattice.controlsAlong(0); ++i, ++at) {
        const NmVec3d node(lattice.origin.x + (i - 1) * lattice.spacing.x,
                           lattice.origin.y + (j - 1) * lattice.spacing.y,
                           lattice.origin.z + (k - 1) * lattice.spacing.z);
        for (int c = 0; c < 3; ++c) {
          // Splines reproduce linear functions from their values at the nodes.
          const double affine =
              node.x * m.m[0][c] + node.y * m.m[1][c] + node.z * m.m[2][c] + m.m[3][c];
          controls_[static_cast<std::size_t>(at + c * count)] =
              toVoxel(model, c, affine + lattice.values[static_cast<std::size_t>(at + c * count)]);
        }
      }
}

}  // namespace voxreg::detail
