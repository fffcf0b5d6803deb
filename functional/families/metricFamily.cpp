#include "functional/families/metricFamily.h"

#include <algorithm>
#include <iterator>

#include "metrics/RegCorrelationRatio.h"
#include "metrics/RegMeanSquaredDifference.h"
#include "metrics/RegNormMutualInformation.h"
#include "metrics/RegSimpleMutualInformation.h"

namespace voxreg::detail {
namespace {

template <class Metric>
RegMetric* makeInformation(const MetricSetup& s) {
  return new Metric(s.referenceType, s.modelType, s.minRef, s.maxRef, s.minModel, s.maxModel,
                    s.numBinsRef, s.numBinsMod, s.maxCoverage, s.smoothCoveragePenalty);
}

RegMetric* makeDifference(const MetricSetup&) {
  return new RegMeanSquaredDifference(1.0, false);
}

RegMetric* makeCorrelation(const MetricSetup& s) {
  return new RegCorrelationRatio(s.minRef, s.maxRef, s.minModel, s.maxModel, s.maxCoverage,
                                 s.smoothCoveragePenalty);
}

const MetricRow metricRows[] = {
    {RegMetricNormMutualInformation, informationFamily, makeInformation<RegNormMutualInformation>},
    {RegMetricSimpleMutualInformation, informationFamily,
     makeInformation<RegSimpleMutualInformation>},
    {RegMetricMeanSquaredDifference, differenceFamily, makeDifference},
    {RegMetricCorrelationRatio, correlationFamily, makeCorrelation}};

}  // namespace

const MetricRow* metricRow(unsigned int kind) {
  const auto* const row = std::find_if(std::begin(metricRows), std::end(metricRows),
                                       [&](const MetricRow& r) { return r.kind == kind; });
  return row == std::end(metricRows) ? nullptr : row;
}

const MetricFamily* familyOf(const RegMetric* metric) {
  for (const MetricRow& row : metricRows)
    if (row.family.holds(metric)) return &row.family;
  return nullptr;
}

}  // namespace voxreg::detail
