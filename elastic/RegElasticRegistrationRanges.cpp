#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "elastic/RegElasticRegistration.h"
#include "elastic/rescale.h"
#include "foundation/NmLogFile.h"
#include "foundation/sampling/voxelBlock.h"
#include "foundation/voxels/volumeFrame.h"
#include "foundation/voxels/voxelGrid.h"
#include "foundation/voxels/voxelTypes.h"

using voxreg::detail::physicalValue;
using voxreg::detail::rawValue;
using voxreg::detail::toVoxel;

namespace {

/// Share of the brightest voxels that may be cut off at the top (empirical).
constexpr double topShare = 0.0005;

/// Histogram of the raw values of a volume.
struct Histogram {
  NmDArray<std::uint64_t> bins;
  int min = 0;  ///< first non-empty bin
  int max = 0;  ///< last non-empty bin
  double total = 0.0;

  double count(std::int64_t bin) const { return static_cast<double>(bins[bin]); }
};

/// A lower limit of intensity, and the share of voxels at or above it.
struct LowerCut {
  int value = 0;
  double above = 1.0;
};

bool takeHistogram(const RegElasticRegistration& registration, VlData* volume, const char* name,
                   Histogram& histogram) {
  if (!registration.getHistogram(volume, histogram.min, histogram.max, histogram.total,
                                 histogram.bins)) {
    getTheLogInstance().errorf("findRanges: Failed computing histogram for %s volume.", name);
    return false;
  }
  if (histogram.total > 0.0) return true;
  getTheLogInstance().errorf("findRanges: Empty histogram for %s volume.", name);
  return false;
}

int roundedPhysical(float raw, const NmVec2f& rescale) {
  return toVoxel<int>(physicalValue(raw, rescale));
}

int roundedRaw(int physical, const NmVec2f& rescale) {
  return toVoxel<int>(rawValue(static_cast<float>(physical), rescale));
}

/// The lower level, or 4 or 2 times as much if the upper one is at least twice that.
int raisedLevel(int lowLevel, int highLevel) {
  const std::int64_t low = lowLevel;
  const std::int64_t raised = 8 * low <= highLevel ? 4 * low : 4 * low <= highLevel ? 2 * low : low;
  return toVoxel<int>(static_cast<double>(raised));
}

/// Raises the limit `value`, but not above `top`, if it keeps too much of the volume. Empirical: it
/// is raised if it keeps more than 0.65 of the voxels, or more than 0.5 below `mid`, and then to
/// the last limit that keeps at least 0.49 below `mid` or 0.55 from there on.
LowerCut findLowerCut(const Histogram& histogram, int value, int mid, int top) {
  double below = 0.0;
  for (std::int64_t i = histogram.min;
       i <= std::min(value - std::int64_t{1}, static_cast<std::int64_t>(histogram.max)); ++i)
    below += histogram.count(i);
  LowerCut cut = {value, (histogram.total - below) / histogram.total};
  if (!((value < top && cut.above > 0.65) || (value < mid && cut.above > 0.5))) return cut;
  const int last = std::min(std::max(top, 0) - 1, histogram.max);
  for (int i = std::max(value, 0); i <= last; ++i) {
    below += histogram.count(i);
    const double above = (histogram.total - below) / histogram.total;
    if (above < (i < mid ? 0.49 : 0.55)) break;
    cut = {i + 1, above};
  }
  return cut;
}

/// The upper limit in raw values: the highest one, without a few outliers if it is above the range
/// of a byte, but at least half of it.
float findUpperCut(const Histogram& histogram, const NmVec2f& rescale) {
  const float highest = physicalValue(static_cast<float>(histogram.max), rescale);
  int cut = histogram.max;
  if (!(highest > 255.0f)) return static_cast<float>(cut);
  double sum = histogram.count(cut);
  while (cut > 0 && !(sum / histogram.total > topShare)) sum += histogram.count(--cut);
  const auto value = static_cast<float>(std::min(cut + 1, histogram.max));
  return std::max(value, rawValue(highest * 0.5f, rescale));
}

/// The limit up to `value` at or above which this histogram has the share of voxels closest to
/// `above`; `value` if all lower limits have more.
int matchShare(const Histogram& histogram, int value, double above) {
  double below = 0.0;
  double previous = -1.0;
  const std::int64_t last = std::min(value - std::int64_t{1}, histogram.max - std::int64_t{1});
  for (std::int64_t i = histogram.min; i <= last; ++i) {
    below += histogram.count(i);
    const double share = (histogram.total - below) / histogram.total;
    const double distance = std::fabs(share - above);
    if (share < above)
      return static_cast<int>(i == histogram.min || distance <= previous ? i + 1 : i);
    previous = distance;
  }
  return value;
}

}  // namespace

bool RegElasticRegistration::getHistogram(VlData* volume, int& minValue, int& maxValue,
                                          double& total, NmDArray<std::uint64_t>& histogram) const {
  if (volume == nullptr) return false;
  const auto block = voxreg::detail::VoxelBlock::lock(*volume);
  if (!block.isOpen() || block.type != NmPrimType::UnsignedShort) return false;
  return _getHistogram(block.as<unsigned short>(), voxreg::detail::VolumeFrame(*volume).dims, 0,
                       65535, minValue, maxValue, total, histogram);
}

template <class T>
bool RegElasticRegistration::_getHistogram(T* data, const NmVec3i& dims, int low, int high,
                                           int& minValue, int& maxValue, double& total,
                                           NmDArray<std::uint64_t>& histogram) const {
  const std::int64_t numBins = static_cast<std::int64_t>(high) - low + 1;
  if (data == nullptr || numBins < 1 || numBins > std::numeric_limits<int>::max()) return false;
  histogram.resize(numBins);
  std::fill_n(histogram.data, numBins, std::uint64_t{0});
  const std::int64_t count =
      voxreg::detail::VoxelGrid{{dims.x, dims.y, dims.z}, 1, NmPrimType::UnsignedShort}.numValues();
  for (std::int64_t i = 0; i < count; ++i) {
    const std::int64_t bin = static_cast<std::int64_t>(data[i]) - low;
    if (bin >= 0 && bin < numBins) ++histogram[bin];
  }
  total = 0.0;
  minValue = static_cast<int>(numBins);
  maxValue = 0;
  for (int bin = 0; bin < static_cast<int>(numBins); ++bin) {
    if (histogram[bin] == 0) continue;
    total += static_cast<double>(histogram[bin]);
    minValue = std::min(minValue, bin);
    maxValue = bin;
  }
  histogram.resize(maxValue + std::int64_t{1});
  return true;
}

template bool RegElasticRegistration::_getHistogram<unsigned short>(unsigned short*, const NmVec3i&,
                                                                    int, int, int&, int&, double&,
                                                                    NmDArray<std::uint64_t>&) const;

bool RegElasticRegistration::findRanges(bool withModel, int lowLevel, int highLevel,
                                        const NmVec2f& referenceRescale,
                                        const NmVec2f& modelRescale, NmVec2f& referenceRange,
                                        NmVec2f& modelRange) const {
  if (reference == nullptr || (withModel && model == nullptr)) {
    getTheLogInstance().errorf("findRanges: Reference or model volume is undefined.");
    return false;
  }
  Histogram histogram;
  if (!takeHistogram(*this, reference, "reference", histogram)) return false;
  getTheLogInstance().printf("findRanges: full range of reference: %d %d\n",
                             roundedPhysical(static_cast<float>(histogram.min), referenceRescale),
                             roundedPhysical(static_cast<float>(histogram.max), referenceRescale));
  const LowerCut cut = findLowerCut(
      histogram, roundedRaw(raisedLevel(lowLevel, highLevel), referenceRescale),
      roundedRaw(highLevel / 2, referenceRescale), roundedRaw(highLevel, referenceRescale));
  referenceRange.x = static_cast<float>(cut.value);
  getTheLogInstance().printf("%.2f%% of volume above minRef\n", cut.above * 100.0);
  referenceRange.y = findUpperCut(histogram, referenceRescale);
  modelRange = referenceRange;
  if (!withModel) return true;
  if (!takeHistogram(*this, model, "model", histogram)) return false;
  modelRange.x = static_cast<float>(matchShare(histogram, cut.value, cut.above));
  if (roundedPhysical(modelRange.x, modelRescale) < 1) modelRange.x = rawValue(1.0f, modelRescale);
  return true;
}
