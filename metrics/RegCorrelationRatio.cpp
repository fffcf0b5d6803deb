#include "metrics/RegCorrelationRatio.h"

#include <cmath>
#include <cstdint>

RegCorrelationRatio::RegCorrelationRatio(double minReference, double maxReference,
                                         double minimumModel, double maximumModel,
                                         double minCoverageValue, bool smoothCoveragePenaltyValue)
    : RegMetric(minCoverageValue, smoothCoveragePenaltyValue),
      minRef(minReference),
      maxRef(maxReference),
      minModel(minimumModel),
      maxModel(maximumModel) {}

RegCorrelationRatio::RegCorrelationRatio(const RegCorrelationRatio& other)
    : RegMetric(other.minCoverage, other.smoothCoveragePenalty),
      minRef(other.minRef),
      maxRef(other.maxRef),
      minModel(other.minModel),
      maxModel(other.maxModel),
      baseline_(other.baseline_) {}

RegCorrelationRatio& RegCorrelationRatio::operator=(const RegCorrelationRatio& other) {
  if (&other == this) return *this;
  RegMetric::operator=(other);
  minRef = other.minRef;
  maxRef = other.maxRef;
  minModel = other.minModel;
  maxModel = other.maxModel;
  baseline_ = other.baseline_;
  reset(RegMetricParamCurrent);
  reset(RegMetricParamRemoved);
  return *this;
}

void RegCorrelationRatio::reset() {
  reset(RegMetricParamCurrent);
}

void RegCorrelationRatio::reset(RegMetricParamType type) {
  switch (type) {
    case RegMetricParamCurrent:
      RegMetric::reset();
      sumRefSq = sumModelSq = sumRefModel = sumRef = sumModel = 0.0;
      return;
    case RegMetricParamBaseline:
      baseline_ = Snapshot();
      return;
    case RegMetricParamRemoved:
      removed_ = Snapshot();
      return;
  }
}

void RegCorrelationRatio::accumulate(std::int64_t count, std::int64_t total, double refSq,
                                     double modelSq, double refModel, double ref, double model,
                                     RegMetricParamType type) {
  const auto addTo = [&](auto& set, double refSum, double modelSum) {
    set.sumRefSq += refSq;
    set.sumModelSq += modelSq;
    set.sumRefModel += refModel;
    set.sumRef += refSum;
    set.sumModel += modelSum;
    set.numSamples += count;
    set.numTotalSamples += total;
  };
  const auto n = static_cast<double>(count);
  switch (type) {
    case RegMetricParamCurrent:
      return addTo(*this, ref, model);
    case RegMetricParamBaseline:
      return addTo(baseline_, ref * n, model * n);
    case RegMetricParamRemoved:
      return addTo(removed_, ref, model);
  }
}

void RegCorrelationRatio::setOtherParams(RegMetricParamType type) {
  if (type != RegMetricParamBaseline && type != RegMetricParamRemoved) return;
  reset(type);
  accumulate(numSamples, numTotalSamples, sumRefSq, sumModelSq, sumRefModel, sumRef, sumModel,
             type);
}

double RegCorrelationRatio::getResult() {
  if (numSamples < 2) return noStatement;
  const auto n = static_cast<double>(numSamples);
  sumRef /= n;
  sumModel /= n;
  const double varRef = sumRefSq - sumRef * (n * sumRef);
  const double varModel = sumModelSq - sumModel * (n * sumModel);
  if (!(varRef > 0.0) || !(varModel > 0.0) || !(varRef * varModel > 0.0)) return noStatement;
  const double r = (sumRefModel - n * sumRef * sumModel) / std::sqrt(varRef * varModel);
  return std::fabs(r) * penaltyFactorForCoverage(0.0);
}

double RegCorrelationRatio::decrementIncrementAndGetResult() {
  numTotalSamples = baseline_.numTotalSamples;
  numSamples += baseline_.numSamples - removed_.numSamples;
  sumRefSq = (baseline_.sumRefSq - removed_.sumRefSq) + sumRefSq;
  sumModelSq = (baseline_.sumModelSq - removed_.sumModelSq) + sumModelSq;
  sumRefModel = (baseline_.sumRefModel - removed_.sumRefModel) + sumRefModel;
  sumRef = (baseline_.sumRef - removed_.sumRef) + sumRef;
  sumModel = (baseline_.sumModel - removed_.sumModel) + sumModel;
  return getResult();
}

bool RegCorrelationRatio::accepts(double ref, double model) const {
  return ref >= minRef && ref <= maxRef && model >= minModel && model <= maxModel;
}

void RegCorrelationRatio::increment(double ref, double model) {
  ++numTotalSamples;
  if (!accepts(ref, model)) return;
  ++numSamples;
  sumRefSq += ref * ref;
  sumModelSq += model * model;
  sumRefModel += ref * model;
  sumRef += ref;
  sumModel += model;
}

void RegCorrelationRatio::decrement(double ref, double model) {
  --numTotalSamples;
  if (!accepts(ref, model)) return;
  --numSamples;
  sumRefSq -= ref * ref;
  sumModelSq -= model * model;
  sumRefModel -= ref * model;
  sumRef -= ref;
  sumModel -= model;
}

bool RegCorrelationRatio::supportsMarginalMetric() {
  return true;
}
