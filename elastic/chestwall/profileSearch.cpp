#include "elastic/chestwall/profileSearch.h"

#include <algorithm>

#include "elastic/RegElasticRegistration.h"
#include "foundation/NmLogFile.h"

namespace voxreg::detail {
namespace {

// World units, empirical.
constexpr float radius = 5.0f;
constexpr float stepLength = 5.0f;

/// Steps along axes.x on either side of the centre (empirical).
constexpr int stepsAcross = 8;

}  // namespace

ProfileSearch::ProfileSearch(const RegElasticRegistration& registration, const VolumeFrame& frame,
                             const NmVec2f& rescale, const NmVec3i& axes, const NmVec3i& signs)
    : registration_(registration), frame_(frame), rescale_(rescale), axes_(axes), signs_(signs) {}

bool ProfileSearch::begin(ProfilePeak& best) {
  const NmVec3f centre = frame_.centre();
  best.x = centre[axes_.x];
  best.z = centre[axes_.z];
  return take(best.x, best.z) && findMaximum(-1, best, firstSkin_);
}

bool ProfileSearch::improve(int firstStep, int lastStep, ProfilePeak& best) {
  const NmVec3f centre = frame_.centre();
  const float stepZ = static_cast<float>(signs_.z) * stepLength;
  for (int k = firstStep; k <= lastStep; ++k) {
    const float z = limitToBox(centre[axes_.z] + static_cast<float>(k) * stepZ, axes_.z);
    for (int m = -stepsAcross; m <= stepsAcross; ++m) {
      const float x = centre[axes_.x] + static_cast<float>(m) * stepLength;
      if (!tryPlace(limitToBox(x, axes_.x), z, best)) return false;
    }
  }
  return true;
}

bool ProfileSearch::tryPlace(float x, float z, ProfilePeak& best) {
  ProfilePeak peak = {x, z, 0, 0.0f};
  int skin = -1;
  if (!take(x, z) || !findMaximum(firstSkin_, peak, skin)) return false;
  if (peak.value > best.value) best = peak;
  return true;
}

bool ProfileSearch::take(float x, float z) {
  const bool flip = signs_.y < 0;
  if (registration_.getCoronalProfile(registration_.reference, rescale_, axes_, flip, x, z, radius,
                                      profile))
    return true;
  getTheLogInstance().errorf("findMasking: Failed computing the coronal profile.");
  return false;
}

bool ProfileSearch::findMaximum(int startIndex, ProfilePeak& peak, int& skinIndex) const {
  float chestWall = 0.0f;
  int unused[3] = {};
  return registration_.analyzeProfile(profile, startIndex, skinIndex, -1, peak.index, peak.value,
                                      false, axes_.y, chestWall, unused[0], unused[1], unused[2]);
}

float ProfileSearch::limitToBox(float coordinate, int axis) const {
  return std::max(frame_.box.min(axis), std::min(frame_.box.max(axis), coordinate));
}

}  // namespace voxreg::detail
