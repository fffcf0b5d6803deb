#pragma once

#include <cstdint>

#include "foundation/NmMemory.h"

/// One of a metric's sets of accumulators.
enum RegMetricParamType {
  RegMetricParamCurrent = 0,   ///< written by the kernels, read by getResult
  RegMetricParamBaseline = 1,  ///< snapshot of the whole volume at the current transform
  RegMetricParamRemoved = 2    ///< snapshot of one box's contribution at the current transform
};

/// Accumulator that turns pairs of voxel values, one of the reference and one of the model, into a
/// number that is larger for a better alignment.
///
/// One evaluation is reset, accumulation, getResult. The sampling kernels add their subtotals to
/// the public members; a kernel's result equals that of increment over its samples. The marginal
/// protocol replaces the contribution of one box: store the whole volume as the baseline, evaluate
/// the box and store it as removed, evaluate it again under the changed transform, and call
/// decrementIncrementAndGetResult.
class RegMetric : public NmAllocated {
 public:
  /// The value if there is no meaningful one.
  static constexpr double noStatement = -1000.0;

  std::int64_t numSamples = 0;       ///< samples in the accumulators
  std::int64_t numTotalSamples = 0;  ///< samples visited, valid or not
  double minCoverage;  ///< share of valid samples from which there is no penalty; <= 0: never a
                       ///< penalty
  bool smoothCoveragePenalty;  ///< quadratic penalty instead of a linear ramp

  virtual ~RegMetric();

  /// Clears the current set; the snapshots are kept.
  virtual void reset();

  /// Copies the current set into the snapshot `type`.
  virtual void setOtherParams(RegMetricParamType type);

  /// The value of the current set; called once per evaluation, since it may rewrite the sums.
  virtual double getResult() = 0;

  /// Computes baseline - removed + current in the current set and returns its value.
  virtual double decrementIncrementAndGetResult() = 0;

  /// Adds one sample.
  virtual void increment(double ref, double model);

  /// Removes one sample.
  virtual void decrement(double ref, double model);

  /// True if the snapshots are implemented.
  virtual bool supportsMarginalMetric();

  /// Factor in [minFactor, 1] that falls if too few of the visited samples were valid. The metrics'
  /// values of minFactor are empirical.
  double penaltyFactorForCoverage(double minFactor) const;

 protected:
  explicit RegMetric(double minCoverageValue = 1.0, bool smoothCoveragePenaltyValue = false);
  RegMetric(const RegMetric&) = default;
  RegMetric& operator=(const RegMetric&) = default;
};
