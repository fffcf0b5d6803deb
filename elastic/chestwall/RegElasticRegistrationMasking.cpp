#include <algorithm>
#include <cmath>

#include "elastic/RegElasticRegistration.h"
#include "elastic/chestwall/axisOrder.h"
#include "elastic/chestwall/bodyEvidence.h"
#include "elastic/chestwall/profileSearch.h"
#include "elastic/rescale.h"
#include "foundation/NmLogFile.h"
#include "foundation/voxels/volumeFrame.h"
#include "foundation/voxels/voxelTypes.h"

using voxreg::detail::ProfilePeak;
using voxreg::detail::ProfileSearch;
using voxreg::detail::VolumeFrame;

namespace {

/// Empirical weights of the squared distances along axes.x, axes.y and axes.z: the chest is a
/// little wider than it is deep, and the ellipsoid flatter along the body than across.
constexpr float weightAcross = 1.1f;
constexpr float weightAlongProfile = 1.0f;
constexpr float weightAlongBody = 1.25f;

/// The ellipsoid's centre is this far below the highest profile, world units (empirical).
constexpr float centreBelowPeak = 11.0f;

/// The outer surface passes this far in front of the chest wall, world units (empirical).
constexpr float outerMargin = 5.0f;

void logSearch(const VolumeFrame& frame, const NmVec3i& axes, const NmVec3i& signs,
               const ProfilePeak& near, const ProfilePeak& peak) {
  const NmVec3f centre = frame.centre();
  const auto sign = static_cast<float>(signs.z);
  getTheLogInstance().printf(
      "maximum %.1f at dx %.1f, dz %.1f from center, y coord %.1f \n",
      static_cast<double>(peak.value), static_cast<double>(peak.x - centre[axes.x]),
      static_cast<double>((peak.z - centre[axes.z]) * sign),
      static_cast<double>(frame.box.min(axes.y) +
                          frame.voxelSize[axes.y] * static_cast<float>(peak.index)));
  getTheLogInstance().printf("analyzing coronal profile at dz %.1f from central slice\n",
                             static_cast<double>((near.z - centre[axes.z]) * sign));
}

/// Places the centre such that the ellipsoid's outer surface passes the chest wall found in a
/// profile at `profileZ`.
NmVec3f centreBehind(float chestWall, float profileZ, const ProfilePeak& peak,
                     const VolumeFrame& frame, const NmVec3i& axes, const NmVec3i& signs,
                     float outerRadius) {
  NmVec3f centre = frame.centre();
  const float z = peak.z - centreBelowPeak * static_cast<float>(signs.z);
  const float dz = profileZ - z;
  const float depth =
      std::sqrt(std::max(0.0f, outerRadius * outerRadius - weightAlongBody * (dz * dz)));
  if (signs.y < 0) {
    const float mirrored = frame.box.max(axes.y) - (chestWall - frame.box.min(axes.y));
    centre[axes.y] = mirrored + outerMargin - depth;
  } else {
    centre[axes.y] = depth + chestWall - outerMargin;
  }
  centre[axes.z] = z;
  return centre;
}

}  // namespace

bool RegElasticRegistration::findMasking(const NmVec2f& rescale, const NmVec3i& axes,
                                         const NmVec3i& signs, NmVec3f& maskCenter,
                                         NmVec3f& maskWeights, float& innerRadius,
                                         float& outerRadius, NmBox3i* roi, int& backgroundLevel,
                                         int& lowestMinHalf) const {
  maskWeights = defaultWeights();
  innerRadius = defaultInnerMaskRadius();
  outerRadius = defaultOuterMaskRadius();
  if (reference == nullptr) {
    getTheLogInstance().errorf("findMasking: Reference volume is undefined.");
    return false;
  }
  const VolumeFrame frame(*reference);
  maskCenter = frame.centre();
  maskCenter[axes.y] += static_cast<float>(signs.y) * outerRadius;
  if (roi != nullptr) *roi = voxreg::detail::allVoxels(frame.dims);
  backgroundLevel = 1;
  lowestMinHalf = 1;
  if (!voxreg::detail::isPermutation(axes)) {
    getTheLogInstance().errorf("findMasking: axes are not 0, 1 and 2 in some order.");
    return false;
  }

  ProfileSearch search(*this, frame, rescale, axes, signs);
  ProfilePeak near;
  if (!search.begin(near) || !search.improve(-5, 0, near)) return false;
  ProfilePeak peak = near;
  if (!search.improve(-12, -6, peak)) return false;
  logSearch(frame, axes, signs, near, peak);

  if (!search.take(frame.centre()[axes.x], near.z)) return false;
  int skinIndex = -1;
  int maxIndex = 0;
  float maxValue = 0.0f;
  float chestWall = 0.0f;
  int firstMaxHalf = 1;
  if (!voxreg::detail::showsBody(search.profile) ||
      !analyzeProfile(search.profile, -1, skinIndex, near.index, maxIndex, maxValue, true, axes.y,
                      chestWall, firstMaxHalf, backgroundLevel, lowestMinHalf)) {
    getTheLogInstance().errorf("findMasking: Didn't find chest wall in coronal profile.");
    return false;
  }
  maskCenter = centreBehind(chestWall, near.z, peak, frame, axes, signs, outerRadius);
  maskWeights[axes.x] = weightAcross;
  maskWeights[axes.y] = weightAlongProfile;
  maskWeights[axes.z] = weightAlongBody;
  if (roi != nullptr) {
    const float threshold = voxreg::detail::rawValue(static_cast<float>(firstMaxHalf), rescale);
    if (findRegionOfInterest(voxreg::detail::toVoxel<int>(threshold), axes, signs.y < 0, *roi))
      getTheLogInstance().printf("threshold %d, ROI: ymin %d, ymax %d\n", firstMaxHalf,
                                 roi->min(axes.y), roi->max(axes.y));
  }
  return true;
}
