#pragma once

#include "foundation/NmDArray.h"
#include "foundation/NmVec.h"
#include "foundation/voxels/volumeFrame.h"

class RegElasticRegistration;

namespace voxreg::detail {

/// The profile with the highest maximum so far: its position on axes.x and axes.z, and the index of
/// its maximum.
struct ProfilePeak {
  float x = 0.0f;
  float z = 0.0f;
  int index = 0;
  float value = 0.0f;
};

/// Takes coronal profiles of a registration's reference, which must not be null, around the centre
/// of its box. The failure of a profile is logged in the name of findMasking. All arguments of the
/// constructor must outlive the search.
class ProfileSearch {
 public:
  ProfileSearch(const RegElasticRegistration& registration, const VolumeFrame& frame,
                const NmVec2f& rescale, const NmVec3i& axes, const NmVec3i& signs);

  /// Takes the profile through the centre, which fills `profile` and is the first peak.
  bool begin(ProfilePeak& best);

  /// Takes profiles from one step along axes.z to another and on both sides along axes.x. Each is
  /// searched starting at the skin of the first profile.
  bool improve(int firstStep, int lastStep, ProfilePeak& best);

  /// Fills `profile` at a position across it.
  bool take(float x, float z);

  NmDArray<float> profile;

 private:
  bool tryPlace(float x, float z, ProfilePeak& best);
  bool findMaximum(int startIndex, ProfilePeak& peak, int& skinIndex) const;
  float limitToBox(float coordinate, int axis) const;

  const RegElasticRegistration& registration_;
  const VolumeFrame& frame_;
  const NmVec2f& rescale_;
  const NmVec3i& axes_;
  const NmVec3i& signs_;
  int firstSkin_ = -1;
};

}  // namespace voxreg::detail
