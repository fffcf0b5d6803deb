#pragma once

#include <optional>

namespace voxreg {

/// How the similarity of two images is measured. Larger values are better.
enum class Metric {
  normalizedMutualInformation,  ///< for different modalities; 1 for unrelated images, up to 2
  mutualInformation,            ///< for different modalities; in nats, at least 0
  meanSquaredDifference,        ///< for images of one modality and scale; 0 at best
  correlationRatio              ///< for linearly related intensities; 0 to 1
};

/// The range of values to use. For values outside it, mutual information uses the ends of the
/// range, the correlation ratio skips the sample, and the mean squared difference ignores the
/// range.
struct IntensityRange {
  float low;
  float high;
};

struct MetricOptions {
  Metric metric = Metric::normalizedMutualInformation;
  int bins = 0;  ///< on each side of a histogram, up to 4096; 0: from the ranges, up to 64
  std::optional<IntensityRange> referenceRange = {};  ///< none: all values
  std::optional<IntensityRange> modelRange = {};
};

}  // namespace voxreg
