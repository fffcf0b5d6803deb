#pragma once

#include <cstdint>

#include "metrics/RegMetric.h"

/// Absolute value of Pearson's correlation coefficient over the samples with both values in their
/// closed ranges, times the coverage factor: 0 to 1. For volumes whose intensities are linearly
/// related, with either sign.
class RegCorrelationRatio : public RegMetric {
 public:
  double sumRefSq = 0.0;
  double sumModelSq = 0.0;
  double sumRefModel = 0.0;
  double sumRef = 0.0;    ///< holds the mean after getResult
  double sumModel = 0.0;  ///< likewise
  double minRef;
  double maxRef;
  double minModel;
  double maxModel;

  RegCorrelationRatio(double minReference, double maxReference, double minimumModel,
                      double maximumModel, double minCoverageValue,
                      bool smoothCoveragePenaltyValue);

  /// Copies the configuration and the baseline; counts, sums and the removed set start empty.
  RegCorrelationRatio(const RegCorrelationRatio& other);

  /// Assigns what a copy would contain. Assigning a metric to itself changes nothing.
  RegCorrelationRatio& operator=(const RegCorrelationRatio& other);

  void reset() override;
  void setOtherParams(RegMetricParamType type) override;
  double getResult() override;
  double decrementIncrementAndGetResult() override;

  /// A sample out of range, or NaN, is counted only in numTotalSamples.
  void increment(double ref, double model) override;
  void decrement(double ref, double model) override;
  bool supportsMarginalMetric() override;

  /// Adds seven numbers to the set `type`. For the baseline, the last two sums are means, as left
  /// by getResult, which it multiplies by `count`.
  void accumulate(std::int64_t count, std::int64_t total, double refSq, double modelSq,
                  double refModel, double ref, double model, RegMetricParamType type);

  /// Clears the set `type`.
  void reset(RegMetricParamType type);

 private:
  struct Snapshot {
    double sumRefSq = 0.0;
    double sumModelSq = 0.0;
    double sumRefModel = 0.0;
    double sumRef = 0.0;
    double sumModel = 0.0;
    std::int64_t numSamples = 0;
    std::int64_t numTotalSamples = 0;
  };

  bool accepts(double ref, double model) const;

  Snapshot baseline_;
  Snapshot removed_;
};
