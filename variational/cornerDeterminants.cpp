#include "variational/cornerDeterminants.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "foundation/numbers/vectors.h"

namespace voxreg::detail {

namespace {

class CornerWalk {
 public:
  CornerWalk(const DisplacedPoints& points, const NmMat4d& linear) : points_(points) {
    for (int a = 0; a < 3; ++a) linear_[a] = {linear.m[a][0], linear.m[a][1], linear.m[a][2]};
    for (auto& plane : rows_)
      for (auto& row : plane) row.resize(static_cast<std::size_t>(points.dims.x));
  }

  DeterminantRange range() {
    for (int z = 0; z + 1 < points_.dims.z; ++z)
      for (int y = 0; y < points_.dims.y; ++y) {
        for (int above = 0; above < 2; ++above) {
          rows_[above][0].swap(rows_[above][1]);
          points_.fillRow(y, z + above, rows_[above][1].data());
        }
        if (y > 0) take(y - 1, z);
      }
    return range_;
  }

 private:
  /// The derivative along an axis from the displacements of two neighbours.
  NmVec3d slope(int axis, const NmVec3d& from, const NmVec3d& to) const {
    const NmVec3d& linear = linear_[axis];
    const double scale = points_.perUnit[axis];
    return {linear.x + (to.x - from.x) * scale, linear.y + (to.y - from.y) * scale,
            linear.z + (to.z - from.z) * scale};
  }

  /// The cells between four rows. The determinant at a corner is that of the three edges that meet
  /// there; the corners of two cells at one point share the edges along y and z. Calls
  /// visit(determinant, x, above in y, above in z).
  template <class Visit>
  void walk(Visit visit) const {
    NmVec3d before[2][2];
    for (std::size_t x = 0; x < rows_[0][0].size(); ++x) {
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
            visit(dot(alongX, before[k][j]), x - 1, j, k);
            visit(dot(alongX, area), x, j, k);
          }
          before[k][j] = area;
        }
    }
  }

  /// The cells above row y of plane z. Their places are looked for only where they matter.
  void take(int y, int z) {
    double low = infinity;
    double high = -infinity;
    walk([&](double determinant, std::size_t, int, int) {
      low = std::min(low, determinant);
      high = std::max(high, determinant);
    });
    range_.largest = std::max(range_.largest, high);
    if (!(low < range_.smallest)) return;
    range_.smallest = low;
    walk([&](double determinant, std::size_t x, int j, int k) {
      if (determinant != low) return;
      const double at[3] = {static_cast<double>(x), static_cast<double>(y + j),
                            static_cast<double>(z + k)};
      for (int a = 0; a < 3; ++a) range_.place[a] = points_.origin[a] + at[a] / points_.perUnit[a];
    });
  }

  static constexpr double infinity = std::numeric_limits<double>::infinity();

  const DisplacedPoints& points_;
  NmVec3d linear_[3];
  std::vector<NmVec3d> rows_[2][2];  ///< displacements: z, y
  DeterminantRange range_ = {infinity, -infinity, {}};
};

}  // namespace

DeterminantRange cornerDeterminants(const DisplacedPoints& points, const NmMat4d& linear) {
  return CornerWalk(points, linear).range();
}

}  // namespace voxreg::detail
