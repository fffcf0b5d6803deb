#include "variational/latticeValues.h"

#include <algorithm>

#include "variational/splineWeights.h"

namespace voxreg::detail {

namespace {

/// Where a line runs: its intervals on y and z, and the weights of the controls around it.
struct LinePlace {
  int y;
  int z;
  double wy[4];
  double wz[4];

  LinePlace(const ControlLattice& lattice, const NmVec3d& point) {
    double t;
    y = splineCell(lattice.intervals.y, point.y, t);
    splineWeights(t, wy);
    z = splineCell(lattice.intervals.z, point.z, t);
    splineWeights(t, wz);
  }
};

constexpr int mostColumns = 32;

/// Successive controls of one line, contracted along y and z: first, count, then by component.
struct Columns {
  int first;
  double sums[3][mostColumns];

  Columns(const ControlLattice& lattice, const LinePlace& line, int firstColumn, int count)
      : first(firstColumn) {
    const std::int64_t row = lattice.controlsAlong(0);
    const std::int64_t plane = row * lattice.controlsAlong(1);
    const double* values = lattice.values.data() + first + row * line.y + plane * line.z;
    for (int c = 0; c < 3; ++c, values += lattice.controlCount())
      contract(values, row, plane, line, count, sums[c]);
  }

  NmVec3d at(int cell, const double (&w)[4]) const {
    NmVec3d found;
    for (int c = 0; c < 3; ++c) {
      const double* const v = sums[c] + (cell - first);
      found[c] = ((w[0] * v[0] + w[1] * v[1]) + w[2] * v[2]) + w[3] * v[3];
    }
    return found;
  }

 private:
  static void contract(const double* values, std::int64_t row, std::int64_t plane,
                       const LinePlace& line, int count, double* sums) {
    const double* const w = line.wz;
    for (int i = 0; i < count; ++i) {
      double along[4];
      for (int j = 0; j < 4; ++j) {
        const double* const v = values + i + row * j;
        along[j] = ((w[0] * v[0] + w[1] * v[plane]) + w[2] * v[2 * plane]) + w[3] * v[3 * plane];
      }
      sums[i] = ((line.wy[0] * along[0] + line.wy[1] * along[1]) + line.wy[2] * along[2]) +
                line.wy[3] * along[3];
    }
  }
};

/// A part of a line whose controls fit into one set of columns.
struct Stretch {
  int firstCell;
  int lastCell;
  std::int64_t end;

  Stretch(int intervals, const NmVec3d* points, std::int64_t begin, std::int64_t n) : end(begin) {
    double t;
    firstCell = lastCell = splineCell(intervals, points[begin].x, t);
    while (++end < n) {
      const int cell = splineCell(intervals, points[end].x, t);
      const int low = std::min(firstCell, cell);
      const int high = std::max(lastCell, cell);
      if (high - low + 4 > mostColumns) return;
      firstCell = low;
      lastCell = high;
    }
  }
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
  for (std::int64_t i = 0; i < n;) {
    const Stretch stretch(lattice.intervals.x, points, i, n);
    const Columns columns(lattice, line, stretch.firstCell,
                          stretch.lastCell - stretch.firstCell + 4);
    for (; i < stretch.end; ++i) {
      double t;
      double weights[4];
      const int cell = splineCell(lattice.intervals.x, points[i].x, t);
      splineWeights(t, weights);
      found[i] = columns.at(cell, weights);
    }
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
