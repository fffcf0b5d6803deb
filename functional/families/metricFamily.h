#pragma once

#include <limits>

#include "functional/kernels/kernelChoice.h"
#include "metrics/RegMetricKind.h"

class RegMetric;
class RegNonAffineTransform;

namespace voxreg::detail {

/// Closed range of voxel values.
struct ValueRange {
  double min = -std::numeric_limits<double>::infinity();
  double max = std::numeric_limits<double>::infinity();

  bool contains(double value) const { return value >= min && value <= max; }
};

/// Properties common to the metrics that share sums. A walk of an incomplete frame adds nothing;
/// see functional/reg_evaluateUniform.h for `numHistograms`.
struct MetricFamily {
  /// Whether a metric, which may be null, belongs to the family.
  bool (*holds)(const RegMetric* metric);

  void (*walkAffine)(const WalkFrame& frame, RegMetric& metric, int numHistograms,
                     const KernelTable& table);

  /// A grid without vertices has no samples.
  void (*walkBricks)(const WalkFrame& frame, const RegNonAffineTransform& grid, RegMetric& metric,
                     int numHistograms, const KernelTable& table);

  /// The range of reference values from which samples are taken; null for a family that takes any.
  ValueRange (*referenceRange)(const RegMetric& metric);

  double penaltyWeight;  ///< of irregular bricks (empirical)
  bool rangeIsCoverage;  ///< a reference voxel out of range counts as having no sample
};

extern const MetricFamily differenceFamily;
extern const MetricFamily correlationFamily;
extern const MetricFamily informationFamily;

/// Arguments for creating a metric.
struct MetricSetup {
  int referenceType;  ///< NmPrimType of the voxels
  int modelType;
  double minRef;
  double maxRef;
  double minModel;
  double maxModel;
  int numBinsRef;
  int numBinsMod;
  double maxCoverage;
  bool smoothCoveragePenalty;
};

/// One of the metrics available to a registration.
struct MetricRow {
  RegMetricKind kind;
  const MetricFamily& family;
  RegMetric* (*make)(const MetricSetup& setup);
};

/// Null if no metric has that number.
const MetricRow* metricRow(unsigned int kind);

/// The family of a metric; null for one without a kernel.
const MetricFamily* familyOf(const RegMetric* metric);

}  // namespace voxreg::detail
