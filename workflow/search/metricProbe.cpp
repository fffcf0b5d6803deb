#include "workflow/search/metricProbe.h"

#include <memory>

#include "functional/RegFunctional.h"
#include "metrics/RegMetric.h"

namespace voxreg::detail {

MetricProbe::MetricProbe(const Image& reference, const Image& model, const MetricOptions& metric,
                         const SearchOptions& search, const NmVec3i& factors)
    : registration_(makeRegistration(reference, model, metric, search, /*progress=*/nullptr)) {
  setReducedVolumes(registration_, reference, model, factors);
  registration_.calculateMaxCoverage();
}

std::optional<double> MetricProbe::at(const NmMat4d& modelToReference) {
  modelToReference.getValue(registration_.matrix);
  registration_.createTransform();
  return value();
}

std::optional<double> MetricProbe::at(const BrickGrid::Grid& grid) {
  registration_.nonAffineResult = grid;
  registration_.createTransform(/*nonAffine=*/true, grid.numBricks);
  return value();
}

std::optional<double> MetricProbe::value() {
  const std::unique_ptr<RegFunctional> functional(
      registration_.createFunctional(registration_.reference, registration_.model, 0, 0));
  if (functional == nullptr) return std::nullopt;
  double penalty = 0.0;
  double time = 0.0;
  const double found =
      functional->evaluate(true, nullptr, -1, false, nullptr, nullptr, penalty, time) + penalty;
  const bool isStatement = functional->metric->numSamples > 0 && found != RegMetric::noStatement;
  return isStatement ? std::optional<double>(found) : std::nullopt;
}

}  // namespace voxreg::detail
