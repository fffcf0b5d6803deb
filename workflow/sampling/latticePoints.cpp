#include "workflow/sampling/latticePoints.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "foundation/numbers/vectors.h"
#include "variational/latticeValues.h"
#include "workflow/sampling/matrices.h"

namespace voxreg::detail {

namespace {

/// For each axis of the points the axis of the lattice that it follows most closely.
NmVec3i axisOrder(const NmMat4d& toIntervals, const ControlLattice& lattice) {
  NmVec3i order(0, 1, 2);
  for (int a = 0; a < 2; ++a) {
    const auto share = [&](int axis) {
      return std::abs(toIntervals.m[a][axis]) * lattice.spacing[axis];
    };
    for (int other = a + 1; other < 3; ++other)
      if (share(order[other]) > share(order[a])) std::swap(order[a], order[other]);
  }
  return order;
}

/// The same lattice with its axes in another order, and its displacements through a matrix.
ControlLattice rearranged(const ControlLattice& lattice, const NmVec3i& order,
                          const NmMat4d& linear) {
  ControlLattice result = lattice;
  const std::int64_t strides[3] = {
      1, lattice.controlsAlong(0),
      std::int64_t{lattice.controlsAlong(0)} * lattice.controlsAlong(1)};
  for (int a = 0; a < 3; ++a) {
    result.intervals[a] = lattice.intervals[order[a]];
    result.origin[a] = lattice.origin[order[a]];
    result.spacing[a] = lattice.spacing[order[a]];
  }
  const std::int64_t count = lattice.controlCount();
  double* next = result.values.data();
  for (int k = 0; k < result.controlsAlong(2); ++k)
    for (int j = 0; j < result.controlsAlong(1); ++j)
      for (int i = 0; i < result.controlsAlong(0); ++i, ++next) {
        const double* const value = lattice.values.data() + i * strides[order.x] +
                                    j * strides[order.y] + k * strides[order.z];
        NmVec3d moved;
        linear.multDirMatrix(NmVec3d(value[0], value[count], value[2 * count]), moved);
        for (int c = 0; c < 3; ++c) next[c * count] = moved[c];
      }
  return result;
}

NmMat4d boxToIntervals(const ControlLattice& lattice) {
  NmMat4d matrix;
  for (int a = 0; a < 3; ++a) {
    matrix.m[a][a] = 1.0 / lattice.spacing[a];
    matrix.m[3][a] = -lattice.origin[a] / lattice.spacing[a];
  }
  return matrix;
}

/// Drops elements that do not move any point of the box noticeably: what rounding leaves of the
/// zeros where axes are parallel. Points of a row then agree in two coordinates exactly.
void dropRounding(NmMat4d& toIntervals, const NmBox3f& box) {
  constexpr double unnoticed = 1e-10;
  for (int a = 0; a < 3; ++a) {
    const double reach = std::max(std::abs(static_cast<double>(box.min(a))),
                                  std::abs(static_cast<double>(box.max(a))));
    for (int c = 0; c < 3; ++c)
      if (std::abs(toIntervals.m[a][c]) * reach < unnoticed) toIntervals.m[a][c] = 0.0;
  }
}

}  // namespace

LatticePoints::LatticePoints(const LatticeMap& map, const NmMat4d& referenceToWorld,
                             const NmBox3f& box, const NmMat4d& worldToModel)
    : toIntervals_(referenceToWorld), linear_(referenceToWorld) {
  linear_.multRight(map.referenceToModel);
  linear_.multRight(worldToModel);
  toIntervals_.multRight(map.boxToWorld.inverse());
  toIntervals_.multRight(boxToIntervals(map.lattice));
  const NmVec3i order = axisOrder(toIntervals_, map.lattice);
  lattice_ = rearranged(map.lattice, order, worldToModel);
  const NmMat4d unordered = toIntervals_;
  for (int a = 0; a < 4; ++a)
    for (int c = 0; c < 3; ++c) toIntervals_.m[a][c] = unordered.m[a][order[c]];
  dropRounding(toIntervals_, box);
}

void LatticePoints::operator()(const NmVec3d* points, std::int64_t n, NmVec3d* found) const {
  constexpr std::int64_t most = 128;
  NmVec3d inIntervals[most];
  NmVec3d displacements[most];
  for (std::int64_t first = 0; first < n; first += most) {
    const std::int64_t count = std::min(most, n - first);
    for (std::int64_t i = 0; i < count; ++i)
      inIntervals[i] = throughAffine(toIntervals_, points[first + i]);
    for (std::int64_t i = 0; i < count;) {
      const NmVec3d& start = inIntervals[i];
      std::int64_t end = i + 1;
      while (end < count && inIntervals[end].y == start.y && inIntervals[end].z == start.z) ++end;
      displacementsOnLine(lattice_, &start, end - i, displacements + i);
      i = end;
    }
    for (std::int64_t i = 0; i < count; ++i)
      found[first + i] = sum(throughAffine(linear_, points[first + i]), displacements[i]);
  }
}

}  // namespace voxreg::detail
