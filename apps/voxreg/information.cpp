#include "information.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "HostError.h"
#include "missingVoxels.h"
#include "voxelTypes.h"

namespace host {

namespace {

std::string textOf(double value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

/// What a metric sees of a volume through its range of values.
bool variesWithin(const NiftiVolume& volume, double low, double high, bool seesBeyond) {
  double first = 0.0;
  long seen = 0;
  bool varies = false;
  withVoxels(*volume.data, [&](const auto& voxels) {
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

std::string lackOf(const std::string& name, const NiftiVolume& volume,
                   const std::vector<float>& range, const MetricSettings& metric) {
  const std::optional<ValueRange> present = finiteRange(volume);
  if (!range.empty() && !(range[0] < range[1]))
    throw HostError("the range of the " + name + "'s values ends below its beginning");
  if (!present) return "the " + name + " has no finite voxel";
  if (!(present->smallest < present->largest))
    return "all voxels of the " + name + " are " + textOf(present->smallest);
  if (range.empty() || !metric.hasRanges()) return "";
  const double low = range[0];
  const double high = range[1];
  if (variesWithin(volume, low, high, metric.countsBeyondRange())) return "";
  return "no voxels of the " + name + " differ between " + textOf(low) + " and " + textOf(high);
}

}  // namespace

std::string lackOfInformation(const NiftiVolume& reference, const NiftiVolume& model,
                              const MetricSettings& metric) {
  const std::string lack = lackOf("reference", reference, metric.referenceRange, metric);
  return lack.empty() ? lackOf("model", model, metric.modelRange, metric) : lack;
}

}  // namespace host
