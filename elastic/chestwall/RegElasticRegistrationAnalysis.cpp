#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "elastic/RegElasticRegistration.h"
#include "elastic/chestwall/profileExtrema.h"
#include "foundation/NmLogFile.h"
#include "foundation/voxels/volumeFrame.h"
#include "foundation/voxels/voxelTypes.h"

using voxreg::detail::ProfileExtrema;
using voxreg::detail::ProfileSection;
using voxreg::detail::toVoxel;

namespace {

/// Empirical share of the maximum that separates skin from air, and a step from noise.
constexpr float skinShare = 0.2f;

/// The number of values that an int can index.
std::int64_t usableSize(const NmDArray<float>& profile) {
  return std::min<std::int64_t>(profile.size, std::numeric_limits<int>::max());
}

void findMaximum(const NmDArray<float>& profile, int startIndex, int& maxIndex, float& maxValue) {
  maxValue = 0.0f;
  maxIndex = 0;
  for (std::int64_t i = startIndex < 0 ? 0 : startIndex + std::int64_t{1}; i < usableSize(profile);
       ++i) {
    if (!(profile[i] > maxValue)) continue;
    maxValue = profile[i];
    maxIndex = static_cast<int>(i);
  }
}

/// The first index from `from` to below `to` whose value is above `threshold`; -1 for none.
int firstAbove(const NmDArray<float>& profile, int from, int to, float threshold) {
  const std::int64_t last = std::min<std::int64_t>(to, usableSize(profile));
  for (std::int64_t i = std::max(from, 0); i < last; ++i)
    if (profile[i] > threshold) return static_cast<int>(i);
  return -1;
}

int findSkin(const NmDArray<float>& profile, int limitIndex, int maxIndex, float maxValue) {
  const int scanEnd = limitIndex < 0 ? maxIndex : std::max(limitIndex, 1);
  if (scanEnd <= 0 || !(maxValue > 0.0f)) return -1;
  const float threshold = skinShare * maxValue;
  int skin = firstAbove(profile, 0, scanEnd, threshold);
  if (skin < 0) skin = firstAbove(profile, limitIndex, maxIndex, threshold);
  return std::max(skin, 0);
}

/// Length of the section from one index to another, world units.
float lengthOf(const ProfileSection& section, std::int64_t from, std::int64_t to) {
  return static_cast<float>(to - from) * section.voxelSize;
}

/// End of the analysis: the limit, if it leaves enough behind the skin and does not extend far
/// beyond the maximum. The lengths are empirical.
std::int64_t endOfAnalysis(const ProfileSection& section, int limitIndex, int maxIndex) {
  std::int64_t end = limitIndex < 0 ? maxIndex : limitIndex;
  const float toMaximum = lengthOf(section, section.skin, maxIndex);
  if (maxIndex < limitIndex && section.skin > 0 && toMaximum > 20.0f) end = maxIndex;
  if (section.voxelSize > 0.0f && lengthOf(section, section.skin, end) < 10.0f) {
    end = maxIndex;
    if (toMaximum < 10.0f)
      end = std::min(section.skin + toVoxel<int>(60.0f / section.voxelSize), section.size - 1);
  }
  return end;
}

/// The last position of an extremum. The 5 world units before a limit are left out (empirical).
std::int64_t stopOfAnalysis(const ProfileSection& section, int limitIndex) {
  if (limitIndex < 0 || !(section.voxelSize > 0.0f)) return std::max(section.skin, section.end - 1);
  const float stop = static_cast<float>(section.end) - 5.0f / section.voxelSize;
  if (!(stop > static_cast<float>(section.skin))) return section.skin;
  return stop < static_cast<float>(section.size) ? static_cast<std::int64_t>(stop) : section.size;
}

/// The analysis runs along `axis` of the reference. A box that is not finite gives no positions.
ProfileSection makeSection(const NmDArray<float>& profile, const VlData& volume, int axis,
                           int skinIndex, int limitIndex, int maxIndex, float maxValue) {
  const voxreg::detail::VolumeFrame frame(volume);
  const int along = std::clamp(axis, 0, 2);
  ProfileSection section;
  section.values = profile.data;
  section.size = usableSize(profile);
  section.skin = skinIndex;
  section.tolerance = skinShare * maxValue;
  if (std::isfinite(frame.voxelSize[along]) && std::isfinite(frame.box.min(along))) {
    section.voxelSize = frame.voxelSize[along];
    section.origin = frame.box.min(along);
  }
  section.end = endOfAnalysis(section, limitIndex, maxIndex);
  section.stop = stopOfAnalysis(section, limitIndex);
  return section;
}

/// Mean and standard deviation in front of the skin, rounded up to the next integer.
int findBackground(const ProfileSection& section) {
  float sum = 0.0f;
  float squares = 0.0f;
  for (std::int64_t i = 0; i <= section.skin - 2; ++i) {
    sum += section.values[i];
    squares += section.values[i] * section.values[i];
  }
  const auto count = static_cast<float>(std::max(section.skin - 1, std::int64_t{1}));
  const float mean = sum / count;
  const float variance = squares / count - mean * mean;
  const float deviation = variance > 0.0f ? std::sqrt(variance) : 0.0f;
  getTheLogInstance().printf("background mean %.3f std dev. %.3f", static_cast<double>(mean),
                             static_cast<double>(deviation));
  const std::int64_t level = toVoxel<int>(mean + deviation) + std::int64_t{1};
  return static_cast<int>(std::min<std::int64_t>(level, std::numeric_limits<int>::max()));
}

void logMinimumBeforeMaximum(const ProfileSection& section, float maxValue) {
  float lowest = maxValue;
  std::int64_t place = 0;
  for (std::int64_t i = section.skin + 2; i < std::min(section.end, section.size); ++i) {
    if (!(section.values[i] < lowest)) continue;
    lowest = section.values[i];
    place = i;
  }
  if (place > 0)
    getTheLogInstance().printf("minimum between skin and max %.1f at %.1f",
                               static_cast<double>(lowest),
                               static_cast<double>(section.position(place)));
}

int roundedHalf(float value) {
  return toVoxel<int>(0.5f * value);
}

int halfOfLowest(const NmDArray<NmVec2f>& extrema) {
  float lowest = extrema[0].y;
  for (std::int64_t i = 1; i < extrema.size; ++i) lowest = std::min(lowest, extrema[i].y);
  return roundedHalf(lowest);
}

}  // namespace

bool RegElasticRegistration::analyzeProfile(const NmDArray<float>& profile, int startIndex,
                                            int& skinIndex, int limitIndex, int& maxIndex,
                                            float& maxValue, bool detailed, int axis,
                                            float& chestWall, int& firstMaxHalf,
                                            int& backgroundLevel, int& lowestMinHalf) const {
  chestWall = 0.0f;
  firstMaxHalf = 1;
  backgroundLevel = 1;
  lowestMinHalf = 1;
  if (profile.size < 1 || (detailed && reference == nullptr)) return false;
  findMaximum(profile, startIndex, maxIndex, maxValue);
  skinIndex = findSkin(profile, limitIndex, maxIndex, maxValue);
  if (!detailed) return true;
  const ProfileSection section =
      makeSection(profile, *reference, axis, skinIndex, limitIndex, maxIndex, maxValue);
  getTheLogInstance().printf("max in coronal profile: %.1f at %.1f", static_cast<double>(maxValue),
                             static_cast<double>(section.position(maxIndex)));
  getTheLogInstance().printf("detected skin at %.1f",
                             static_cast<double>(section.position(skinIndex)));
  backgroundLevel = findBackground(section);
  logMinimumBeforeMaximum(section, maxValue);
  ProfileExtrema extrema = voxreg::detail::findExtrema(section);
  const bool isFound = voxreg::detail::findChestWall(section, extrema, chestWall);
  if (extrema.minima.size > 0) lowestMinHalf = halfOfLowest(extrema.minima);
  if (extrema.maxima.size > 0) firstMaxHalf = roundedHalf(extrema.maxima[0].y);
  return isFound;
}
