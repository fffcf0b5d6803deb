#include "workflow/MapApproximation.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "foundation/numbers/distances.h"
#include "workflow/PointMap.h"
#include "workflow/sampling/boxRows.h"
#include "workflow/sampling/fieldPoints.h"
#include "workflow/sampling/matrices.h"

namespace voxreg {

namespace {

constexpr std::int64_t mostNodes = std::int64_t{1} << 31;

NmMat4d matrixOf(const Transform& transform) {
  if (const std::optional<NmMat4d> matrix = transform.referenceToModel()) return *matrix;
  if (const LatticeMap* const lattice = transform.lattice()) return lattice->referenceToModel;
  if (const DisplacementMap* const field = transform.field()) return field->referenceToModel;
  return {};
}

/// Between the nodes on one axis.
double cellsAlong(const ImageFrame& frame, int axis, double spacing) {
  constexpr double rounding = 1e-6;
  const auto most = static_cast<double>(frame.dims[axis] - 1);
  const double extent = static_cast<double>(frame.box.extent(axis));
  const double asked = std::ceil(extent / spacing * (1.0 - rounding));
  return spacing > 0.0 && asked < most ? std::max(asked, std::min(most, 1.0)) : most;
}

/// The nodes that there are to be; none if there are too many.
NmVec3i nodesOver(const ImageFrame& frame, double spacing) {
  NmVec3i nodes;
  double count = 1.0;
  for (int a = 0; a < 3; ++a) {
    const double along = cellsAlong(frame, a, spacing) + 1.0;
    count *= along;
    if (!(count <= static_cast<double>(mostNodes))) return {};
    nodes[a] = static_cast<int>(along);
  }
  return nodes;
}

/// Nodes over a frame's box, without their displacements.
DisplacementField emptyField(const ImageFrame& frame, const NmVec3i& nodes) {
  DisplacementField field;
  field.dims = nodes;
  for (int a = 0; a < 3; ++a) {
    field.origin[a] = static_cast<double>(frame.box.min(a));
    field.spacing[a] = static_cast<double>(frame.box.extent(a)) / std::max(nodes[a] - 1, 1);
  }
  field.values.resize(3 * static_cast<std::size_t>(nodes.x) * static_cast<std::size_t>(nodes.y) *
                      static_cast<std::size_t>(nodes.z));
  return field;
}

/// The nodes of a frame's box as points, and a transform from the frame to the model's world.
struct Nodes {
  Nodes(const Transform& transform, const ImageFrame& frame, const NmVec3i& counts)
      : whole(transform, frame, /*modelToWorld=*/{}), points{frame.box, counts, {}} {
    for (int a = 0; a < 3; ++a) points.steps[a] = std::max(counts[a] - 1, 1);
  }

  /// Gives a map the displacements that its matrix lacks.
  void fill(DisplacementMap& map) const {
    NmMat4d linear = map.toWorld;
    linear.multRight(map.referenceToModel);
    const std::size_t count = map.field.values.size() / 3;
    float* next = map.field.values.data();
    detail::forEachMappedPoint(points, whole, [&](const NmVec3d& point, const NmVec3d& found) {
      const NmVec3d rest = detail::minus(found, detail::throughAffine(linear, point));
      next[0] = static_cast<float>(rest.x);
      next[count] = static_cast<float>(rest.y);
      next[2 * count] = static_cast<float>(rest.z);
      ++next;
    });
  }

  /// From a map to the transform, between the nodes.
  detail::Distances distancesFrom(const DisplacementMap& map) const {
    const detail::FieldPoints approximated(map, map.toWorld);
    const detail::BoxPoints between = {points.box, points.steps, points.steps, 0.5};
    detail::Distances distances;
    detail::forEachMappedPoint(between, whole, [&](const NmVec3d& point, const NmVec3d& found) {
      distances.add(found, approximated.at(point));
    });
    return distances;
  }

  PointMap whole;
  detail::BoxPoints points;
};

}  // namespace

MapApproximation approximateByField(const Transform& transform, const Image& reference,
                                    double spacing) {
  if (!reference) return {};
  const ImageFrame& frame = reference.frame();
  const NmVec3i counts = nodesOver(frame, spacing);
  if (counts.x == 0) return {};
  MapApproximation result;
  result.map = {emptyField(frame, counts), frame.toWorld, matrixOf(transform)};
  const Nodes nodes(transform, frame, counts);
  nodes.fill(result.map);
  if (!result.map.isValid()) return {};
  const detail::Distances distances = nodes.distancesFrom(result.map);
  result.meanError = distances.mean();
  result.largestError = distances.largest;
  return result;
}

}  // namespace voxreg
