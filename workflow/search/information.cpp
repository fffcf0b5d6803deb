#include "workflow/search/information.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "workflow/MissingVoxels.h"
#include "workflow/refusal.h"
#include "workflow/sampling/voxelSpans.h"

namespace voxreg::detail {

namespace {

std::string textOf(double value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

/// Whether a metric sees different values of a volume through its range of values.
bool variesWithin(const Image& volume, double low, double high, bool seesBeyond) {
  double first = 0.0;
  std::int64_t seen = 0;
  bool varies = false;
  (void)withVoxels(volume, [&](const auto& voxels) {
    for (const auto voxel : voxels) {
      double value = static_cast<double>(voxel);
      if (seesBeyond) value = std::clamp(value, low, high);
      if (!(value >= low && value <= high)) continue;
      if (seen++ == 0) first = value;
      varies = varies || value != first;
    }
  });
  return varies;
}

std::string lackOf(const std::string& name, const Image& volume,
                   const std::optional<IntensityRange>& range, const MetricOptions& metric) {
  const std::optional<ValueRange> present = finiteRange(volume);
  if (range && !(range->low < range->high))
    throw Refusal("the range of the " + name + "'s values ends below its start");
  if (!present) return "the " + name + " has no finite voxel";
  if (!(present->smallest < present->largest))
    return "all voxels of the " + name + " are " + textOf(present->smallest);
  if (!range || metric.metric == Metric::meanSquaredDifference) return "";
  const double low = range->low;
  const double high = range->high;
  if (variesWithin(volume, low, high, metric.metric != Metric::correlationRatio)) return "";
  return "no voxels of the " + name + " differ between " + textOf(low) + " and " + textOf(high);
}

}  // namespace

std::string lackOfInformation(const Image& reference, const Image& model,
                              const MetricOptions& metric) {
  const std::string lack = lackOf("reference", reference, metric.referenceRange, metric);
  return lack.empty() ? lackOf("model", model, metric.modelRange, metric) : lack;
}

void requireInformation(const Image& reference, const Image& model, const MetricOptions& metric) {
  const std::string lack = lackOfInformation(reference, model, metric);
  if (!lack.empty()) throw Refusal(lack, Reason::Kind::noInformation);
}

}  // namespace voxreg::detail
