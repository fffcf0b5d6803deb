#include <algorithm>
#include <cstdint>
#include <utility>

#include "elastic/RegElasticRegistration.h"
#include "metrics/RegMetric.h"
#include "metrics/RegMetricKind.h"
#include "optimizers/RegSearchKind.h"
#include "registration/RegStageCode.h"
#include "registration/RegVoxelRegistration.h"
#include "transforms/brickTopology.h"

namespace {

using Descriptor = RegNonAffineTransform::NonAffineTransformDescriptor;

NmDArray<NmHandle<VlData>> listOf(const NmHandle<VlData>& volume) {
  NmDArray<NmHandle<VlData>> list;
  list.insert(0, 1, &volume);
  return list;
}

/// `range`, or the volume's range if `range` is reversed.
NmVec2f rangeOf(VlData& volume, const NmVec2f& range) {
  NmVec2f result = range;
  if (range.y < range.x) volume.range(result.x, result.y, true);
  return result;
}

bool isIntegerType(int type) {
  constexpr unsigned int integerTypes = 0x387;
  return type >= 0 && type < 10 && (integerTypes >> type & 1u) != 0;
}

unsigned int numBinsOf(const VlData& volume, const NmVec2f& range) {
  return static_cast<unsigned int>(
      RegVoxelRegistration::getNumBins(range.x, range.y, isIntegerType(volume.primType())));
}

int gridCode(const NmVec3i& bricks) {
  constexpr int most = RegStageCode::largestCount;
  return RegStageCode::ofGrid(
      NmVec3i(std::min(bricks.x, most), std::min(bricks.y, most), std::min(bricks.z, most)));
}

/// Copies as much of a result as is valid.
void adopt(Descriptor& reached, Descriptor& transform) {
  if (!(reached.box.volume() > 0.0f)) return;
  transform.box = reached.box;
  const NmVec3i& n = reached.numBricks;
  if (std::min({n.x, n.y, n.z}) < 1) return;
  if (reached.vertices.size != 3 * voxreg::detail::BrickTopology{n}.vertexCount()) return;
  transform.numBricks = n;
  transform.vertices = std::move(reached.vertices);
}

}  // namespace

NmVec3i RegElasticRegistration::getNumBricks(int bricks, int axis, const NmVec3i& dims,
                                             const NmVec3f& voxelSize) const {
  bricks = std::max(bricks, 1);
  axis = std::clamp(axis, 0, 2);
  NmVec3i grid(1, 1, 1);
  grid[axis] = bricks;
  const auto size = [&](int a) { return static_cast<float>(dims[a]) * voxelSize[a]; };
  const float length = size(axis) / static_cast<float>(bricks);
  if (!(length > 0.0f)) return grid;
  for (const int other : {(axis + 1) % 3, (axis + 2) % 3}) {
    // Rounds to nearest, with an empirical margin.
    const double count = static_cast<double>(size(other) / length) + 0.5001;
    constexpr double most = 2147483647.0;
    grid[other] = count >= 1.0 ? static_cast<int>(std::min(count, most)) : 1;
  }
  return grid;
}

bool RegElasticRegistration::invokeVoxelRegistration(
    const NmHandle<VlData>& referenceVolume, const NmHandle<VlData>& modelVolume,
    const NmVec3i& bricks, const NmVec2f& stepRange, const NmVec2f& referenceRange,
    const NmVec2f& modelRange, unsigned int metricFlag, double* metricValue) {
  if (metricValue != nullptr) *metricValue = RegMetric::noStatement;
  if (referenceVolume == nullptr || modelVolume == nullptr) return false;
  if (std::min({bricks.x, bricks.y, bricks.z}) < 1) return false;
  NmDArray<NmHandle<VlData>> references = listOf(referenceVolume);
  NmDArray<NmHandle<VlData>> models = listOf(modelVolume);
  const NmVec2f inReference = rangeOf(*referenceVolume, referenceRange);
  const NmVec2f inModel = rangeOf(*modelVolume, modelRange);
  NmVec4i affineStages;
  NmVec3i nonAffineStages(gridCode(bricks), 0, 0);
  RegVoxelRegistration registration(
      progress, true, references, models, 3, inReference.x, inReference.y, inModel.x, inModel.y,
      std::max(numThreads, 1),
      metricFlag != 0 ? RegMetricCorrelationRatio : RegMetricNormMutualInformation,
      numBinsOf(*referenceVolume, inReference), numBinsOf(*modelVolume, inModel), NmVec3i(1, 1, 1),
      1, true, affineStages, nonAffineStages, false, stepRange, 1, 0.0001f, RegSearchQuasiNewton,
      false, false);
  registration.nonAffineResult = transform;
  const bool done = registration.compute(2);
  numEvaluations += registration.numEvaluations;
  numGradients += registration.numGradients;
  if (!done) return false;
  adopt(registration.nonAffineResult, transform);
  if (metricValue != nullptr) *metricValue = registration.finalMetric;
  return true;
}
