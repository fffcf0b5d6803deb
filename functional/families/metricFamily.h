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

/// What the metrics that share sums have in common. A walk of a frame that is not complete adds
/// nothing; what `numHistograms` means is told in functional/reg_evaluateUniform.h.
struct MetricFamily {
  /// Whether a metric, which may be null, is one of the family.
  bool (*holds)(const RegMetric* metric);

  void (*walkAffine)(const WalkFrame& frame, RegMetric& metric, int numHistograms,
                     const KernelTable& table);

  /// A grid without vertices has no samples.
  void (*walkBricks)(const WalkFrame& frame, const RegNonAffineTransform& grid, RegMetric& metric,
                     int numHistograms, const KernelTable& table);

  /// The reference's values that samples are taken from; null for a family that takes any.
  ValueRange (*referenceRange)(const RegMetric& metric);

  double penaltyWeight;  ///< of irregular bricks
  bool rangeIsCoverage;  ///< a reference voxel out of range counts as one without a sample
};

extern const MetricFamily differenceFamily;
extern const MetricFamily correlationFamily;
extern const MetricFamily informationFamily;

/// What a metric is made from.
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

/// One of the metrics that a registration can be asked for.
struct MetricRow {
  RegMetricKind kind;
  const MetricFamily& family;
  RegMetric* (*make)(const MetricSetup& setup);
};

/// Null where there is no metric of that number.
const MetricRow* metricRow(unsigned int kind);

/// The family of a metric, null for one that no kernel feeds.
const MetricFamily* familyOf(const RegMetric* metric);

}  // namespace voxreg::detail
