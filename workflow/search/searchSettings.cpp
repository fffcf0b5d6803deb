#include "workflow/search/searchSettings.h"

#include <cmath>
#include <string>

#include "metrics/RegMetricKind.h"
#include "optimizers/RegSearchKind.h"
#include "workflow/refusal.h"

namespace voxreg::detail {

namespace {

/// The others try each of their steps in turn, down to the smallest; the ones that follow lines
/// take their gradients over it. The steps are empirical (docs/searches.md).
bool followsLines(Search search) {
  return search == Search::quasiNewton || search == Search::conjugateGradient;
}

void requireRange(const std::optional<IntensityRange>& range, const char* image) {
  if (!range) return;
  if (!std::isfinite(range->low) || !std::isfinite(range->high))
    throw Refusal(std::string("the range of the ") + image + "'s values is not finite");
}

bool isWithin(int value, int least, int most) {
  return value >= least && value <= most;
}

}  // namespace

// No default, so that the compiler asks for a case of each new enumerator.
unsigned int kindOf(Metric metric) {
  switch (metric) {
    case Metric::normalizedMutualInformation:
      break;
    case Metric::mutualInformation:
      return RegMetricSimpleMutualInformation;
    case Metric::meanSquaredDifference:
      return RegMetricMeanSquaredDifference;
    case Metric::correlationRatio:
      return RegMetricCorrelationRatio;
  }
  return RegMetricNormMutualInformation;
}

unsigned int kindOf(Search search) {
  switch (search) {
    case Search::aggressiveDirection:
      return RegSearchAggressiveDirection;
    case Search::bestNeighbour:
      return RegSearchBestNeighbour;
    case Search::conjugateGradient:
      return RegSearchConjugateGradients;
    case Search::bestDirection:
      return RegSearchBestDirection;
    case Search::exactDerivatives:
    case Search::quasiNewton:
      break;
  }
  return RegSearchQuasiNewton;
}

bool usesExactDerivatives(const SearchOptions& options) {
  const bool hasOptionsOfOthers =
      options.steps || options.gradientLevels > 0 || options.fitSteps || options.restrictedMotion;
  if (!options.search) return !hasOptionsOfOthers;
  if (*options.search != Search::exactDerivatives) return false;
  if (hasOptionsOfOthers)
    throw Refusal("a search by exact derivatives has no steps, gradient levels or restrictions");
  return true;
}

Search searchByValues(const SearchOptions& options) {
  return options.search.value_or(Search::quasiNewton);
}

double valueOfChance(Metric metric) {
  return metric == Metric::normalizedMutualInformation ? 1.0 : 0.0;
}

NmVec2f stepRange(const SearchOptions& options) {
  if (options.steps) return {options.steps->largest, options.steps->smallest};
  return followsLines(searchByValues(options)) ? NmVec2f(8.0f, 1.0f) : NmVec2f(8.0f, 0.03f);
}

NmVec2f refiningSteps(const SearchOptions& options) {
  const float smallest = stepRange(options).y;
  return followsLines(searchByValues(options)) ? NmVec2f(0.2f * smallest, 0.1f * smallest)
                                               : NmVec2f(16.0f * smallest, smallest);
}

void requireSettings(const MetricOptions& options) {
  constexpr int mostBins = 4096;
  if (!isWithin(options.bins, 0, mostBins))
    throw Refusal("a histogram must have at most 4096 bins");
  requireRange(options.referenceRange, "reference");
  requireRange(options.modelRange, "model");
}

void requireSettings(const SearchOptions& options) {
  constexpr int mostLevels = 16;
  if (options.steps) {
    const auto [largest, smallest] = *options.steps;
    if (largest < smallest) throw Refusal("the largest step is smaller than the smallest");
    if (!(smallest > 0.0f) || !std::isfinite(largest))
      throw Refusal("the steps must be finite and above 0");
  }
  if (options.gradientTolerance &&
      !(*options.gradientTolerance > 0.0f && std::isfinite(*options.gradientTolerance)))
    throw Refusal("the tolerance of the gradient searches must be finite and above 0");
  if (!isWithin(options.gradientLevels, 0, mostLevels))
    throw Refusal("there must be 0 to 16 gradient levels");
}

void requireSettings(const LevelOptions& options) {
  constexpr int mostLevels = 10;
  constexpr int largestFactor = 1024;
  if (!isWithin(options.levels, 0, mostLevels)) throw Refusal("there must be 1 to 10 levels");
  if (!options.coarsest) return;
  for (int a = 0; a < 3; ++a)
    if (!isWithin((*options.coarsest)[a], 1, largestFactor))
      throw Refusal("the reduction on the coarsest level must be 1 to 1024 on each axis");
}

}  // namespace voxreg::detail
