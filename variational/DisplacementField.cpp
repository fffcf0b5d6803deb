#include "variational/DisplacementField.h"

#include <algorithm>

#include "foundation/numbers/distances.h"
#include "variational/latticeValues.h"

namespace voxreg {

namespace {

constexpr std::int64_t mostNodes = std::int64_t{1} << 31;

/// -1 if there are none or too many.
std::int64_t nodeCount(const NmVec3i& dims) {
  std::int64_t count = 1;
  for (int a = 0; a < 3; ++a) {
    if (dims[a] < 1) return -1;
    count *= dims[a];
    if (count > mostNodes) return -1;
  }
  return count;
}

/// Calls visit(point, displacement), the point in intervals, for `counts` points on each axis, the
/// first one `offset` cells from the corner of the lattice's box.
template <class Visit>
void forEachPoint(const ControlLattice& lattice, const NmVec3i& cells, const NmVec3i& counts,
                  double offset, Visit visit) {
  const auto place = [&](int axis, int index) {
    return cells[axis] > 0 ? lattice.intervals[axis] * ((index + offset) / cells[axis]) : 0.0;
  };
  std::vector<NmVec3d> points(static_cast<std::size_t>(counts.x));
  std::vector<NmVec3d> found(points.size());
  for (int z = 0; z < counts.z; ++z)
    for (int y = 0; y < counts.y; ++y) {
      for (int x = 0; x < counts.x; ++x)
        points[static_cast<std::size_t>(x)] = {place(0, x), place(1, y), place(2, z)};
      detail::displacementsOnLine(lattice, points.data(), counts.x, found.data());
      for (std::size_t x = 0; x < points.size(); ++x) visit(points[x], found[x]);
    }
}

/// The lower node of the cell around a position on one axis, and the place in the cell.
struct Cell {
  int node;
  double share;

  Cell(const DisplacementField& field, int axis, double position) {
    const double last = field.dims[axis] - 1.0;
    const double scaled = (position - field.origin[axis]) / field.spacing[axis];
    const double within = last > 0.0 && scaled > 0.0 ? std::min(scaled, last) : 0.0;
    node = std::min(static_cast<int>(within), std::max(field.dims[axis] - 2, 0));
    share = within - node;
  }
};

}  // namespace

bool DisplacementField::isValid() const {
  const std::int64_t count = nodeCount(dims);
  for (int a = 0; a < 3; ++a)
    if (dims[a] > 1 && !(spacing[a] > 0.0)) return false;
  return count > 0 && values.size() == static_cast<std::size_t>(3 * count);
}

NmVec3d DisplacementField::displacementAt(const NmVec3d& position) const {
  if (!isValid()) return detail::nowhere();
  const Cell cells[3] = {{*this, 0, position.x}, {*this, 1, position.y}, {*this, 2, position.z}};
  const std::int64_t strides[3] = {1, dims.x, std::int64_t{dims.x} * dims.y};
  const std::int64_t count = strides[2] * dims.z;
  NmVec3d sum;
  for (int corner = 0; corner < 8; ++corner) {
    double weight = 1.0;
    std::int64_t node = 0;
    for (int a = 0; a < 3; ++a) {
      const bool isUpper = (corner >> a & 1) != 0;
      weight *= isUpper ? cells[a].share : 1.0 - cells[a].share;
      node += strides[a] * std::min(cells[a].node + (isUpper ? 1 : 0), dims[a] - 1);
    }
    for (int c = 0; c < 3; ++c)
      sum[c] += weight * static_cast<double>(values[static_cast<std::size_t>(node + c * count)]);
  }
  return sum;
}

FieldApproximation approximateByField(const ControlLattice& lattice, const NmVec3i& dims) {
  const std::int64_t count = nodeCount(dims);
  if (count < 0 || !lattice.hasControls()) return {};
  FieldApproximation result;
  DisplacementField& field = result.field;
  field.origin = lattice.origin;
  field.dims = dims;
  NmVec3i cells;
  NmVec3i between;
  for (int a = 0; a < 3; ++a) {
    cells[a] = dims[a] - 1;
    between[a] = std::max(cells[a], 1);
    field.spacing[a] = lattice.spacing[a] * lattice.intervals[a] / between[a];
  }
  field.values.resize(static_cast<std::size_t>(3 * count));
  if (!field.isValid()) return {};
  float* next = field.values.data();
  forEachPoint(lattice, cells, dims, 0.0, [&](const NmVec3d&, const NmVec3d& displacement) {
    for (int c = 0; c < 3; ++c) next[c * count] = static_cast<float>(displacement[c]);
    ++next;
  });

  detail::Distances distances;
  forEachPoint(lattice, cells, between, 0.5,
               [&](const NmVec3d& point, const NmVec3d& displacement) {
                 NmVec3d position;
                 for (int a = 0; a < 3; ++a)
                   position[a] = lattice.origin[a] + point[a] * lattice.spacing[a];
                 distances.add(displacement, field.displacementAt(position));
               });
  result.meanError = distances.mean();
  result.largestError = distances.largest;
  return result;
}

}  // namespace voxreg
