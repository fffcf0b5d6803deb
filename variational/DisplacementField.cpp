#include "variational/DisplacementField.h"

#include <algorithm>

#include "foundation/numbers/distances.h"
#include "variational/fieldValues.h"
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

}  // namespace

bool DisplacementField::isValid() const {
  const std::int64_t count = nodeCount(dims);
  for (int a = 0; a < 3; ++a)
    if (dims[a] > 1 && !(spacing[a] > 0.0)) return false;
  return count > 0 && values.size() == static_cast<std::size_t>(3 * count);
}

NmVec3d DisplacementField::displacementAt(const NmVec3d& position) const {
  if (!isValid()) return detail::nowhere();
  return detail::displacementAmongNodes(*this, detail::inNodes(*this, position));
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
