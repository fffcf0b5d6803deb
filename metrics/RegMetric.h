#pragma once

#include <cstdint>

#include "foundation/NmMemory.h"

/// Names a set of a metric's accumulators.
enum RegMetricParamType {
  RegMetricParamCurrent = 0,   ///< what the kernels write to and getResult reads
  RegMetricParamBaseline = 1,  ///< snapshot of the whole volume at the present transform
  RegMetricParamRemoved = 2    ///< snapshot of what one box contributes at the present transform
};

/// Accumulator that turns pairs of voxel values, one of the reference and one of the model, into a
/// number that is larger for a better alignment.
///
/// One evaluation is reset, accumulation, getResult. The sampling kernels add their subtotals to
/// the public members; a kernel's result equals a run of increment over its samples. The marginal
/// protocol replaces the contribution of one box: keep the whole volume as the baseline, evaluate
/// the box and keep it as removed, evaluate it again under the changed transform, and take
/// decrementIncrementAndGetResult.
class RegMetric : public NmAllocated {
 public:
  /// The value where no statement is possible.
  static constexpr double noStatement = -1000.0;

  std::int64_t numSamples = 0;       ///< samples that entered the accumulators
  std::int64_t numTotalSamples = 0;  ///< samples that were visited, valid or not
  double minCoverage;  ///< share of valid samples at which the penalty ends; <= 0: no penalty
  bool smoothCoveragePenalty;  ///< quadratic penalty instead of a linear ramp

  virtual ~RegMetric();

  /// Empties the current set; the snapshots stay.
  virtual void reset();

  /// Copies the current set into the snapshot that `type` names.
  virtual void setOtherParams(RegMetricParamType type);

  /// The value of the current set; called once per evaluation, since it may rewrite the sums.
  virtual double getResult() = 0;

  /// Forms baseline - removed + current in the current set and returns its value.
  virtual double decrementIncrementAndGetResult() = 0;

  /// Adds one sample.
  virtual void increment(double ref, double model);

  /// Takes one sample away again.
  virtual void decrement(double ref, double model);

  /// True if the snapshots do real work.
  virtual bool supportsMarginalMetric();

  /// Factor in [minFactor, 1] that falls when too few of the visited samples were valid.
  double penaltyFactorForCoverage(double minFactor) const;

 protected:
  explicit RegMetric(double minCoverageValue = 1.0, bool smoothCoveragePenaltyValue = false);
  RegMetric(const RegMetric&) = default;
  RegMetric& operator=(const RegMetric&) = default;
};
