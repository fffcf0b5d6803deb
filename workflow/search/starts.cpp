#include "workflow/search/starts.h"

#include <algorithm>
#include <cmath>

#include "metrics/RegMetric.h"
#include "workflow/PointMap.h"
#include "workflow/search/StopOnly.h"
#include "workflow/search/centres.h"
#include "workflow/search/metricProbe.h"
#include "workflow/search/searchSettings.h"
#include "workflow/search/voxelRegistration.h"

namespace voxreg::detail {

namespace {

NmMat4d shift(const NmVec3d& from, const NmVec3d& to) {
  NmMat4d matrix;
  matrix.setTranslate(NmVec3d(to.x - from.x, to.y - from.y, to.z - from.z));
  return matrix;
}

NmMat4d matrixOf(StartRule rule, const Image& reference, const Image& model) {
  if (rule == StartRule::boxes) return shift(centreOfBox(model), centreOfBox(reference));
  if (rule == StartRule::masses) return shift(centreOfMass(model), centreOfMass(reference));
  return {};
}

/// Short rigid searches on reduced volumes, with an empirical tolerance.
class Trial {
 public:
  Trial(const Image& reference, const Image& model, const MetricOptions& metric,
        const NmVec3i& factors, NmProgressInterface& progress)
      : reference_(reference),
        model_(model),
        chance_(valueOfChance(metric.metric)),
        stopOnly_(progress),
        registration_(makeRegistration(reference, model, metric, SearchOptions(), &stopOnly_)) {
    setReducedVolumes(registration_, reference, model, factors);
    registration_.nonAffineStages = NmVec3i(6, 0, 0);
    registration_.gradientStep = 1e-4f;
    const auto coarse = static_cast<float>(std::max({factors.x, factors.y, factors.z}));
    registration_.stepRange.y = std::min(registration_.stepRange.x, coarse);
  }

  /// The gain of a search from there. Nothing if the metric has no meaningful value.
  std::optional<double> from(const NmMat4d& start) {
    worldToFrames(start, reference_, model_).getValue(registration_.matrix);
    const bool done =
        registration_.compute(2) && registration_.finalMetric != RegMetric::noStatement;
    if (!done) return std::nullopt;
    return registration_.finalMetric - chance_;
  }

 private:
  const Image& reference_;
  const Image& model_;
  double chance_;
  StopOnly stopOnly_;
  RegVoxelRegistration registration_;
};

/// The difference is smallest where two volumes share only air.
MetricOptions judgeFor(MetricOptions metric) {
  if (metric.metric == Metric::meanSquaredDifference)
    metric.metric = Metric::normalizedMutualInformation;
  return metric;
}

}  // namespace

std::vector<Start> startsFor(StartRule rule, const Image& reference, const Image& model,
                             const MetricOptions& metric, NmProgressInterface& progress) {
  std::vector<Start> starts;
  for (const StartRule kind : {StartRule::header, StartRule::boxes, StartRule::masses})
    if (rule == StartRule::best || rule == kind)
      starts.push_back({kind, matrixOf(kind, reference, model), {}});
  if (rule != StartRule::best) return starts;
  const NmVec3i factors = coarsestFactors(reference, model, {});
  Trial trial(reference, model, judgeFor(metric), factors, progress);
  for (Start& start : starts) start.reached = trial.from(start.matrix);
  return starts;
}

const Start& bestOf(const std::vector<Start>& starts) {
  std::optional<double> highest;
  for (const Start& start : starts)
    if (start.reached && (!highest || *start.reached > *highest)) highest = start.reached;
  constexpr double tie = 0.1;
  for (const Start& start : starts)
    if (start.reached && *start.reached >= *highest - tie * std::abs(*highest)) return start;
  return starts.front();
}

}  // namespace voxreg::detail
