#pragma once

#include <optional>

namespace voxreg {

/// How the likeness of two images is measured. A larger value is a better one.
enum class Metric {
  normalizedMutualInformation,  ///< for images of different kinds; 1 for unrelated ones, up to 2
  mutualInformation,            ///< the same in bits
  meanSquaredDifference,        ///< for images of one kind and scale; 0 at best
  correlationRatio              ///< where values of one follow from those of the other; 0 to 1
};

/// The values of an image that count. Mutual information takes those beyond for its ends, the
/// correlation ratio leaves them out, and the mean squared difference counts all.
struct IntensityRange {
  float low;
  float high;
};

struct MetricOptions {
  Metric metric = Metric::normalizedMutualInformation;
  int bins = 0;  ///< on each side of a histogram, up to 4096; 0: what suits the ranges, up to 64
  std::optional<IntensityRange> referenceRange = {};  ///< none: all values
  std::optional<IntensityRange> modelRange = {};
};

}  // namespace voxreg
