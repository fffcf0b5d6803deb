#include "workflow/search/detailTask.h"

#include "variational/pyramid/searchLevel.h"

namespace voxreg::detail {

namespace {

/// What a level of detail costs and how smooth it leaves the field (empirical, docs/searches.md).
struct Effort {
  int firstIterations;
  int laterIterations;  ///< on each level after the first; 0: there is none
  double elasticSigma;  ///< voxels
};

/// From voxels of about 2 mm to finer ones.
Effort effortFor(Detail detail) {
  if (detail == Detail::fast) return {20, 0, 0.5};
  if (detail == Detail::normal) return {20, 10, 0.5};
  return {20, 20, 0.45};
}

/// With coarse voxels alone: half a voxel of smoothing after each iteration would be a millimetre,
/// as wide as the cortex's folds are apart.
Effort coarseEffortFor(Detail detail) {
  constexpr double sigma = 0.35;
  if (detail == Detail::fast) return {10, 0, sigma};
  if (detail == Detail::normal) return {20, 0, sigma};
  return {40, 0, sigma};
}

}  // namespace

int reductionBeforeDetail(const VolumeFrame& reference) {
  constexpr double usualVoxel = 2.0;  // millimetres
  constexpr double slack = 1.2;
  const double finest = finestVoxelSize(reference);
  int reduction = 1;
  while (finest > 0.0 && 2.0 * reduction * finest <= slack * usualVoxel) reduction *= 2;
  return reduction;
}

FieldTask fieldTaskFor(Detail detail, const VolumeFrame& reference) {
  const int first = reductionBeforeDetail(reference);
  const Effort effort = first == 1 ? coarseEffortFor(detail) : effortFor(detail);
  FieldTask task = {{{first, effort.firstIterations}}, effort.elasticSigma};
  if (effort.laterIterations == 0) return task;
  for (int reduction = first / 2; reduction >= 1; reduction /= 2)
    task.levels.push_back({reduction, effort.laterIterations});
  return task;
}

}  // namespace voxreg::detail
