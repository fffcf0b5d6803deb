#include "workflow/RegisterElastic.h"

#include <cmath>

#include "foundation/NmWatch.h"
#include "workflow/elastic/elasticLattice.h"
#include "workflow/elastic/elasticRuns.h"
#include "workflow/search/frameGrids.h"
#include "workflow/search/information.h"
#include "workflow/search/judgement.h"
#include "workflow/search/latticeRuns.h"
#include "workflow/search/metricProbe.h"
#include "workflow/search/searchedPair.h"

namespace voxreg {

namespace {

using namespace detail;

bool nearlyEqual(double a, double b, double tolerance) {
  return std::abs(a - b) <= tolerance;
}

/// Whether the grids are equal up to the rounding of headers: a hundredth of a voxel, a thousandth
/// of a radian.
bool shareGrid(const Image& reference, const Image& model) {
  if (!(reference.dims() == model.dims())) return false;
  const NmVec3f voxel = reference.volume()->voxelSpacing();
  for (int a = 0; a < 3; ++a) {
    const NmBox3f& r = reference.frame().box;
    const NmBox3f& m = model.frame().box;
    const double tolerance = 0.01 * static_cast<double>(voxel[a]);
    if (!nearlyEqual(r.min(a), m.min(a), tolerance) || !nearlyEqual(r.max(a), m.max(a), tolerance))
      return false;
    for (int w = 0; w < 3; ++w)
      if (!nearlyEqual(reference.frame().toWorld.m[a][w], model.frame().toWorld.m[a][w], 0.001))
        return false;
  }
  return true;
}

void requireBrickOptions(const ElasticOptions& options) {
  constexpr int leastBricks = 12;
  constexpr int mostBricks = 40;
  if (options.spacing || options.stiffness)
    throw Refusal("bricks have no spacing of controls and no stiffness");
  if (options.maxBricks && (*options.maxBricks < leastBricks || *options.maxBricks > mostBricks))
    throw Refusal("an elastic registration takes 12 to 40 bricks");
}

void requireLatticeOptions(const ElasticOptions& options) {
  if (options.maxBricks) throw Refusal("a lattice has no bricks, but a spacing of its controls");
  if (options.spacing && !(*options.spacing > 0.0 && std::isfinite(*options.spacing)))
    throw Refusal("the spacing of the controls must be finite and above 0");
  if (options.stiffness && !(*options.stiffness >= 0.0 && std::isfinite(*options.stiffness)))
    throw Refusal("the stiffness must be finite and not below 0");
}

void requireOptions(const ElasticOptions& options) {
  if (options.engine == ElasticEngine::bricks)
    requireBrickOptions(options);
  else
    requireLatticeOptions(options);
  if (options.metric != Metric::correlationRatio &&
      options.metric != Metric::normalizedMutualInformation)
    throw Refusal(
        "an elastic registration uses correlation ratio or normalised mutual information");
  if (options.levels &&
      (!std::isfinite(options.levels->low) || !std::isfinite(options.levels->high)))
    throw Refusal("the levels of air and tissue are not finite");
}

/// One registration: what it is given, and what both engines need.
struct Task {
  const Image& reference;
  const Image& model;
  const ElasticOptions& options;
  SearchedPair images;
  MetricOptions metric;  ///< over the whole volumes
};

BrickGrid::Grid stillBricks(const Task& task) {
  return startGrid(NmMat4d(), task.images.reference, task.images.model);
}

Transform ofBricks(const BrickGrid::Grid& grid, const Task& task) {
  return Transform::fromBricks(bricksInWorld(grid, task.images.reference, task.images.model,
                                             BrickGrid::Beyond::displacement));
}

LatticeMap stillLattice(const Task& task) {
  return mapOf({}, task.images, elasticSpacing(task.reference, task.options));
}

/// What an engine starts from, in the form of its results.
Transform still(const Task& task) {
  return task.options.engine == ElasticEngine::bricks ? ofBricks(stillBricks(task), task)
                                                      : Transform::fromLattice(stillLattice(task));
}

void searchBricks(const Task& task, const ElasticPair& pair, RegElasticRegistration& elastic,
                  SearchProgress& progress, ElasticRegistration& found) {
  const bool done = searchGrids(elastic, pair, task.options, progress);
  found.interrupted = progress.wasInterrupted();
  if (!done && !found.interrupted)
    throw Refusal("the registration failed", Reason::Kind::failedRun);
  found.evaluations = elastic.numEvaluations;
  found.gradients = elastic.numGradients;
  if (elastic.transform.vertices.size == 0) elastic.transform = stillBricks(task);
  found.transform = ofBricks(elastic.transform, task);
}

void measureBricks(const Task& task, const RegElasticRegistration& elastic,
                   ElasticRegistration& found) {
  MetricProbe probe(task.images.reference, task.images.model, task.metric, {}, fullResolution);
  found.metricBefore = probe.at(stillBricks(task));
  found.metricAfter = probe.at(elastic.transform);
  found.smallestJacobian = found.transform.bricks()->smallestJacobian();
}

void measureLattice(const Task& task, const LatticeMap& map, ElasticRegistration& found) {
  found.metricBefore = metricAt(stillLattice(task), task.images, task.metric);
  found.metricAfter = metricAt(map, task.images, task.metric);
  found.smallestJacobian = map.smallestJacobian();
}

void search(const Task& task, ElasticRegistration& found) {
  const NmWatch watch(true);
  SearchProgress progress({{"Registering", 1.0}}, task.options.progress);
  RegElasticRegistration elastic;
  elastic.progress = &progress;
  const ElasticPair pair = elasticPair(elastic, task.images, task.reference, task.options);
  found.mask = pair.mask;
  found.chestWall = pair.chestWall;
  if (task.options.engine == ElasticEngine::bricks) {
    searchBricks(task, pair, elastic, progress, found);
    found.seconds = watch.getTime();
    measureBricks(task, elastic, found);
  } else {
    const LatticeMap map =
        searchElasticLattice(task.reference, task.model, pair, task.options, progress, found);
    found.transform = Transform::fromLattice(map);
    found.seconds = watch.getTime();
    measureLattice(task, map, found);
  }
}

void find(const Image& reference, const Image& model, const ElasticOptions& options,
          ElasticRegistration& found) {
  requireOptions(options);
  Task task = {reference, model, options, searchedPair(reference, model), {}};
  task.metric.metric = options.metric;
  found.transform = still(task);
  requireInformation(reference, model, task.metric);
  if (!shareGrid(task.images.reference, task.images.model))
    throw Refusal("reference and model are not on the same voxel grid", Reason::Kind::badImage);
  search(task, found);
  judge(overlapOf(task.images.reference, task.images.model, found.transform), found);
}

}  // namespace

ElasticRegistration registerElastic(const Image& reference, const Image& model,
                                    const ElasticOptions& options) {
  return found<ElasticRegistration>(
      [&](ElasticRegistration& registration) { find(reference, model, options, registration); });
}

}  // namespace voxreg
