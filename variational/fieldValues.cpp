#include "variational/fieldValues.h"

#include <algorithm>

namespace voxreg::detail {

namespace {

std::int64_t nodesOf(const DisplacementField& field) {
  return std::int64_t{field.dims.x} * field.dims.y * field.dims.z;
}

double between(double from, double to, double share) {
  return (1.0 - share) * from + share * to;
}

/// The cell around a point: its lower node, the steps to the upper ones, and the place in it.
struct Cell {
  static constexpr int none = -1;

  std::int64_t lower = 0;
  std::int64_t steps[3];
  double share[3];

  Cell(const DisplacementField& field, const NmVec3d& point) {
    std::int64_t stride = 1;
    for (int a = 0; a < 3; ++a) {
      const int last = field.dims[a] - 1;
      const double within = point[a] > 0.0 ? std::min<double>(point[a], last) : 0.0;
      const int node = std::min(static_cast<int>(within), std::max(last - 1, 0));
      share[a] = within - node;
      steps[a] = last > 0 ? stride : 0;
      lower += stride * node;
      stride *= field.dims[a];
    }
  }

  /// The value of a component at the place, or how it differs between the two ends of an axis.
  template <int axis>
  double value(const float* component) const {
    const auto side = [&](const float* at) {
      return joined<axis, 1>(edge<axis>(at), edge<axis>(at + steps[1]));
    };
    const float* const at = component + lower;
    return joined<axis, 2>(side(at), side(at + steps[2]));
  }

 private:
  template <int axis>
  double edge(const float* at) const {
    return joined<axis, 0>(static_cast<double>(at[0]), static_cast<double>(at[steps[0]]));
  }
  template <int axis, int along>
  double joined(double low, double high) const {
    return axis == along ? high - low : between(low, high, share[along]);
  }
};

}  // namespace

NmVec3d inNodes(const DisplacementField& field, const NmVec3d& position) {
  NmVec3d found;
  for (int a = 0; a < 3; ++a)
    found[a] = field.dims[a] > 1 ? (position[a] - field.origin[a]) / field.spacing[a] : 0.0;
  return found;
}

NmVec3d displacementAmongNodes(const DisplacementField& field, const NmVec3d& point) {
  const Cell cell(field, point);
  const std::int64_t count = nodesOf(field);
  const float* const x = field.values.data();
  return {cell.value<Cell::none>(x), cell.value<Cell::none>(x + count),
          cell.value<Cell::none>(x + 2 * count)};
}

void slopesAmongNodes(const DisplacementField& field, const NmVec3d& point,
                      double (&slopes)[3][3]) {
  const Cell cell(field, point);
  const std::int64_t count = nodesOf(field);
  for (int c = 0; c < 3; ++c) {
    const float* const component = field.values.data() + c * count;
    slopes[0][c] = cell.value<0>(component);
    slopes[1][c] = cell.value<1>(component);
    slopes[2][c] = cell.value<2>(component);
  }
  for (int a = 0; a < 3; ++a)
    if (!(point[a] >= 0.0 && point[a] <= field.dims[a] - 1)) std::fill_n(slopes[a], 3, 0.0);
}

DeterminantRange cornerDeterminants(const DisplacementField& field, const NmMat4d& linear) {
  DisplacedPoints points = {field.origin, {1.0, 1.0, 1.0}, {2, 2, 2}, {}};
  for (int a = 0; a < 3; ++a) {
    if (field.dims[a] < 2) continue;
    points.perUnit[a] = 1.0 / field.spacing[a];
    points.dims[a] = field.dims[a];
  }
  const std::int64_t count = nodesOf(field);
  points.fillRow = [&](int y, int z, NmVec3d* row) {
    const NmVec3i& n = field.dims;
    const float* const first =
        field.values.data() +
        n.x * (std::min(y, n.y - 1) + std::int64_t{n.y} * std::min(z, n.z - 1));
    for (int x = 0; x < points.dims.x; ++x)
      for (int c = 0; c < 3; ++c)
        row[x][c] = static_cast<double>(first[c * count + std::min(x, n.x - 1)]);
  };
  return cornerDeterminants(points, linear);
}

}  // namespace voxreg::detail
