#include "variational/latticeDeterminants.h"

#include <limits>
#include <vector>

#include "foundation/numbers/vectors.h"
#include "variational/latticeValues.h"

namespace voxreg::detail {

namespace {

class CornerWalk {
 public:
  CornerWalk(const ControlLattice& lattice, const NmMat4d& linear, int perInterval)
      : lattice_(lattice), perInterval_(perInterval) {
    for (int a = 0; a < 3; ++a) {
      linear_[a] = {linear.m[a][0], linear.m[a][1], linear.m[a][2]};
      perUnit_[a] = perInterval / lattice.spacing[a];
    }
    points_.resize(static_cast<std::size_t>(pointsAlong(0)));
    for (auto& plane : rows_)
      for (auto& row : plane) row.resize(points_.size());
  }

  DeterminantRange range() {
    for (int z = 0; z + 1 < pointsAlong(2); ++z)
      for (int y = 0; y < pointsAlong(1); ++y) {
        for (int above = 0; above < 2; ++above) {
          rows_[above][0].swap(rows_[above][1]);
          fill(rows_[above][1], y, z + above);
        }
        if (y > 0) walk(y - 1, z);
      }
    return range_;
  }

 private:
  int pointsAlong(int axis) const { return perInterval_ * lattice_.intervals[axis] + 1; }

  void fill(std::vector<NmVec3d>& row, int y, int z) {
    const double step = 1.0 / perInterval_;
    for (std::size_t x = 0; x < points_.size(); ++x)
      points_[x] = {static_cast<double>(x) * step, y * step, z * step};
    displacementsOnLine(lattice_, points_.data(), pointsAlong(0), row.data());
  }

  /// The derivative along an axis from the displacements of two neighbours.
  NmVec3d slope(int axis, const NmVec3d& from, const NmVec3d& to) const {
    NmVec3d found = linear_[axis];
    for (int c = 0; c < 3; ++c) found[c] += (to[c] - from[c]) * perUnit_[axis];
    return found;
  }

  /// The cells between four rows. The determinant at a corner is that of the three edges that meet
  /// there; the corners of two cells at one point share the edges along y and z.
  void walk(int y, int z) {
    NmVec3d before[2][2];
    for (std::size_t x = 0; x < points_.size(); ++x) {
      NmVec3d alongY[2];
      NmVec3d alongZ[2];
      for (int side = 0; side < 2; ++side) {
        alongY[side] = slope(1, rows_[side][0][x], rows_[side][1][x]);
        alongZ[side] = slope(2, rows_[0][side][x], rows_[1][side][x]);
      }
      for (int k = 0; k < 2; ++k)
        for (int j = 0; j < 2; ++j) {
          const NmVec3d area = cross(alongY[k], alongZ[j]);
          if (x > 0) {
            const NmVec3d alongX = slope(0, rows_[k][j][x - 1], rows_[k][j][x]);
            take(dot(alongX, before[k][j]), x - 1, y + j, z + k);
            take(dot(alongX, area), x, y + j, z + k);
          }
          before[k][j] = area;
        }
    }
  }

  void take(double determinant, std::size_t x, int y, int z) {
    if (determinant > range_.largest) range_.largest = determinant;
    if (!(determinant < range_.smallest)) return;
    range_.smallest = determinant;
    const double at[3] = {static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)};
    for (int a = 0; a < 3; ++a) range_.place[a] = lattice_.origin[a] + at[a] / perUnit_[a];
  }

  static constexpr double infinity = std::numeric_limits<double>::infinity();

  const ControlLattice& lattice_;
  int perInterval_;
  NmVec3d linear_[3];
  double perUnit_[3];
  std::vector<NmVec3d> points_;
  std::vector<NmVec3d> rows_[2][2];  ///< displacements: z, y
  DeterminantRange range_ = {infinity, -infinity, {}};
};

}  // namespace

DeterminantRange cornerDeterminants(const ControlLattice& lattice, const NmMat4d& linear,
                                    int perInterval) {
  return CornerWalk(lattice, linear, perInterval).range();
}

}  // namespace voxreg::detail
