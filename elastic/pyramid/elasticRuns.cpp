#include "elastic/pyramid/elasticRuns.h"

#include <algorithm>
#include <utility>

#include "elastic/RegElasticRegistration.h"
#include "foundation/NmLogFile.h"
#include "foundation/NmWatch.h"
#include "metrics/RegMetric.h"

namespace voxreg::detail {
namespace {

// Largest and smallest steps of the searches, empirical.
const NmVec2f coarseSteps(10.0f, 3.0f);
const NmVec2f evenSteps(3.0f, 3.0f);
const NmVec2f fineSteps(5.0f, 1.0f);

void logSeconds(const char* name, const NmWatch& watch) {
  getTheLogInstance().printf("bricked registration (%s): %.1f sec.", name,
                             static_cast<double>(watch.getTime()));
}

}  // namespace

bool ElasticRuns::search(const ElasticLevel& level, const Search& search, double* metricValue) {
  const NmVec3i bricks = registration_.getNumBricks(search.bricks, settings_.bricksAxis,
                                                    settings_.dims, settings_.voxelSize);
  return registration_.invokeVoxelRegistration(level.reference, level.model, bricks, search.steps,
                                               settings_.referenceRange, settings_.modelRange,
                                               settings_.metricFlag, metricValue);
}

bool ElasticRuns::runCoarse(const char* name, ElasticLevel& level, const Search& first,
                            const Search& second) {
  const NmWatch watch(true);
  const bool ok = search(level, first) && (second.bricks == 0 || search(level, second));
  logSeconds(name, watch);
  level.release();
  return ok;
}

bool ElasticRuns::run(ElasticPyramid& pyramid) {
  const int q = settings_.largestBricks;
  bool ok = true;
  bool ranRes8 = false;
  if (pyramid.res8.isBuilt())
    ok = ranRes8 = runCoarse("res8", pyramid.res8, {4, coarseSteps}, {8, evenSteps});
  if (ok && pyramid.res4.isBuilt())
    ok = ranRes8 ? runCoarse("res4", pyramid.res4, {8, fineSteps}, {12, fineSteps})
                 : runCoarse("res4", pyramid.res4, {4, coarseSteps}, {8, evenSteps});
  const int second = q >= 16 ? std::min(q, finestBricks) : 0;
  if (ok && pyramid.res2.isBuilt())
    ok = ranRes8 ? runCoarse("res2", pyramid.res2, {12, fineSteps}, {second, fineSteps})
                 : runCoarse("res2", pyramid.res2, {8, fineSteps}, {12, fineSteps});
  return ok && runFinest(pyramid, !ranRes8);
}

bool ElasticRuns::runFinest(ElasticPyramid& pyramid, bool isCoarsest) {
  constexpr int smallWidth = 300;  // voxels, empirical
  ElasticLevel& level = pyramid.res1;
  const bool isSmall = isCoarsest && pyramid.width() <= smallWidth;
  const bool isRefined = settings_.largestBricks >= finestBricks && level.isBuilt();
  if (isSmall) pyramid.completeFinest();
  if (!level.isBuilt() || !(isSmall || isRefined)) return true;
  const NmWatch watch(true);
  bool ok = !isSmall || search(level, {12, fineSteps});
  if (ok && isRefined) ok = refine(level);
  logSeconds("res1", watch);
  level.release();
  return ok;
}

// If a grid scores no better than the best one before it, its result is replaced with that. A
// failure ends the comparison, but not the loop.
bool ElasticRuns::refine(const ElasticLevel& level) {
  const int q = settings_.largestBricks;
  auto best = registration_.transform;
  double bestValue = RegMetric::noStatement;
  bool ok = true;
  for (int bricks = q < 23 ? q : finestBricks; bricks <= q; bricks = nextBricks(bricks, q)) {
    double value = RegMetric::noStatement;
    ok = search(level, {bricks, fineSteps}, &value) && ok;
    if (!ok) continue;
    if (value > bestValue) {
      best = registration_.transform;
      bestValue = value;
    } else if (bestValue > RegMetric::noStatement) {
      auto copy = best;
      registration_.transform = std::move(copy);
    }
  }
  return ok;
}

int nextBricks(int bricks, int largest) {
  const int half = bricks / 2;
  const int rest = largest - bricks;
  const bool isLastStep =
      (rest < half && rest >= bricks / 4) || (rest > half && rest < 3 * ((half + 1) / 2));
  return bricks + (isLastStep ? rest : half);
}

}  // namespace voxreg::detail
