#include "variational/latticeValues.h"

#include <algorithm>

#include "variational/splineWeights.h"

namespace voxreg::detail {

namespace {

/// Where a line runs: its intervals on y and z, and six times the weights of the controls around
/// it.
struct LinePlace {
  int y;
  int z;
  double wy[4];
  double wz[4];

  LinePlace(const ControlLattice& lattice, const NmVec3d& point) {
    double t;
    y = splineCell(lattice.intervals.y, point.y, t);
    sixfoldWeights(t, wy);
    z = splineCell(lattice.intervals.z, point.z, t);
    sixfoldWeights(t, wz);
  }
};

/// A coordinate in intervals, moved to the ends of an axis; 0 if it is not a number.
double limited(double coordinate, double intervals) {
  return coordinate > 0.0 ? std::min(coordinate, intervals) : 0.0;
}

constexpr int mostColumns = 32;

/// The longest part of a line, halved again and again, whose controls fit into one set of columns.
struct Stretch {
  int firstCell;
  int lastCell;
  std::int64_t length;

  Stretch(int intervals, const NmVec3d* points, std::int64_t n) : length(n) {
    double t;
    for (;; length /= 2) {
      double low = intervals;
      double high = 0.0;
      for (std::int64_t i = 0; i < length; ++i) {
        const double x = limited(points[i].x, intervals);
        low = std::min(low, x);
        high = std::max(high, x);
      }
      firstCell = splineCell(intervals, low, t);
      lastCell = splineCell(intervals, high, t);
      if (lastCell - firstCell + 4 <= mostColumns) return;
    }
  }
};

/// The controls of a stretch of a line, contracted along y and z, by component. The sums hold a
/// sixth for the weights along x too.
class Columns {
 public:
  Columns(const ControlLattice& lattice, const LinePlace& line, const Stretch& stretch)
      : intervals_(lattice.intervals.x), first_(stretch.firstCell) {
    const std::int64_t row = lattice.controlsAlong(0);
    const std::int64_t plane = row * lattice.controlsAlong(1);
    const double* values = lattice.values.data() + first_ + row * line.y + plane * line.z;
    for (int c = 0; c < 3; ++c, values += lattice.controlCount())
      contract(values, row, plane, line, stretch.lastCell - first_ + 4, sums_[c]);
  }

  NmVec3d at(double x) const {
    const double within = limited(x, intervals_);
    const int cell = std::min(static_cast<int>(within), intervals_ - 1);
    double w[4];
    sixfoldWeights(within - cell, w);
    const int at = cell - first_;
    return {along(sums_[0] + at, w), along(sums_[1] + at, w), along(sums_[2] + at, w)};
  }

 private:
  static double along(const double* v, const double (&w)[4]) {
    return ((w[0] * v[0] + w[1] * v[1]) + w[2] * v[2]) + w[3] * v[3];
  }

  static void contract(const double* values, std::int64_t row, std::int64_t plane,
                       const LinePlace& line, int count, double* sums) {
    constexpr double share = 1.0 / 216.0;
    const double* const w = line.wz;
    for (int i = 0; i < count; ++i) {
      double across[4];
      for (int j = 0; j < 4; ++j) {
        const double* const v = values + i + row * j;
        across[j] = ((w[0] * v[0] + w[1] * v[plane]) + w[2] * v[2 * plane]) + w[3] * v[3 * plane];
      }
      sums[i] = along(across, line.wy) * share;
    }
  }

  int intervals_;
  int first_;
  double sums_[3][mostColumns];
};

}  // namespace

NmVec3d inIntervals(const ControlLattice& lattice, const NmVec3d& position) {
  NmVec3d found;
  for (int a = 0; a < 3; ++a) found[a] = (position[a] - lattice.origin[a]) / lattice.spacing[a];
  return found;
}

void displacementsOnLine(const ControlLattice& lattice, const NmVec3d* points, std::int64_t n,
                         NmVec3d* found) {
  if (n <= 0) return;
  const LinePlace line(lattice, points[0]);
  for (std::int64_t done = 0; done < n;) {
    const Stretch stretch(lattice.intervals.x, points + done, n - done);
    const Columns columns(lattice, line, stretch);
    for (const std::int64_t end = done + stretch.length; done < end; ++done)
      found[done] = columns.at(points[done].x);
  }
}

void displacementSlopes(const ControlLattice& lattice, const NmVec3d& position,
                        double (&slopes)[3][3]) {
  const NmVec3d point = inIntervals(lattice, position);
  int cell[3];
  double weights[3][4];
  double rates[3][4];
  for (int a = 0; a < 3; ++a) {
    double t;
    const int n = lattice.intervals[a];
    cell[a] = splineCell(n, point[a], t);
    splineWeights(t, weights[a]);
    splineSlopes(t, rates[a]);
    const bool isInside = point[a] >= 0.0 && point[a] <= n;
    for (double& rate : rates[a]) rate = isInside ? rate / lattice.spacing[a] : 0.0;
  }
  const std::int64_t row = lattice.controlsAlong(0);
  const std::int64_t plane = row * lattice.controlsAlong(1);
  const double* values = lattice.values.data() + cell[0] + row * cell[1] + plane * cell[2];
  for (int c = 0; c < 3; ++c, values += lattice.controlCount()) {
    double sums[3] = {0.0, 0.0, 0.0};
    for (int k = 0; k < 4; ++k)
      for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i) {
          const double value = values[i + row * j + plane * k];
          sums[0] += rates[0][i] * weights[1][j] * weights[2][k] * value;
          sums[1] += weights[0][i] * rates[1][j] * weights[2][k] * value;
          sums[2] += weights[0][i] * weights[1][j] * rates[2][k] * value;
        }
    for (int a = 0; a < 3; ++a) slopes[a][c] = sums[a];
  }
}

}  // namespace voxreg::detail
