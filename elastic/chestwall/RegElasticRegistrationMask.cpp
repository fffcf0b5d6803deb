#include <limits>

#include "elastic/RegElasticRegistration.h"
#include "elastic/rescale.h"
#include "foundation/NmLogFile.h"
#include "foundation/sampling/voxelBlock.h"
#include "foundation/voxels/volumeFrame.h"

using voxreg::detail::VolumeFrame;
using voxreg::detail::VoxelBlock;

namespace {

/// Truncates towards zero and saturates to the range of T; NaN becomes 0.
template <class T>
T truncateTo(float value) {
  constexpr auto highest = static_cast<float>(std::numeric_limits<T>::max());
  if (!(value > 0.0f)) return 0;
  return static_cast<T>(value < highest ? value : highest);
}

/// The voxels of a volume that is to be masked; not open, with an error line, if that is not
/// possible at once.
VoxelBlock openForMasking(VlData* volume, NmPrimType type) {
  const char* fault = nullptr;
  VoxelBlock block;
  if (volume == nullptr)
    fault = "Volume is undefined.";
  else if (volume->primType() != type)
    fault = "primType not yet implemented.";
  else if (block = VoxelBlock::tryLockForWriting(*volume); !block.isOpen())
    fault = "Failed getting data access or data are not contiguous.";
  if (fault != nullptr) getTheLogInstance().errorf("applyMasking: %s", fault);
  return block;
}

/// Passes each voxel to `change` with its weighted squared distance from the centre.
template <class T, class F>
void walkDistances(T* voxel, const VolumeFrame& frame, const NmVec3f& centre,
                   const NmVec3f& weights, F&& change) {
  const auto term = [&](int axis, int index) {
    const float distance = frame.position(axis, index) - centre[axis];
    return weights[axis] * (distance * distance);
  };
  for (int z = 0; z < frame.dims.z; ++z) {
    const float qz = term(2, z);
    for (int y = 0; y < frame.dims.y; ++y) {
      const float qy = term(1, y);
      for (int x = 0; x < frame.dims.x; ++x, ++voxel) change(*voxel, term(0, x) + qy + qz);
    }
  }
}

}  // namespace

bool RegElasticRegistration::applyMasking(VlData* volume, const NmVec2f& rescale,
                                          const NmVec3f& maskCenter, const NmVec3f& maskWeights,
                                          float innerRadius, float outerRadius,
                                          MaskingTarget target) const {
  if (volume == nullptr) {
    getTheLogInstance().errorf("applyMasking: Volume to be masked is undefined.");
    return false;
  }
  if (target < Image)
    return _applyMaskingLabels(volume, static_cast<unsigned char*>(nullptr), maskCenter,
                               maskWeights, innerRadius, target == LabelsMark);
  return _applyMasking(volume, static_cast<unsigned short*>(nullptr), true,
                       voxreg::detail::rawValue(0.0f, rescale), maskCenter, maskWeights,
                       innerRadius, outerRadius);
}

template <class T>
bool RegElasticRegistration::_applyMasking(VlData* volume, T* /*typeTag*/, bool roundValues,
                                           float fillValue, const NmVec3f& maskCenter,
                                           const NmVec3f& maskWeights, float radius1,
                                           float radius2) const {
  const VoxelBlock block = openForMasking(volume, NmPrimType::UnsignedShort);
  if (!block.isOpen()) return false;
  const float inner = radius1 * radius1;
  const float outer = radius2 * radius2;
  if (inner == outer) {
    getTheLogInstance().errorf(
        "applyMasking: Inconsistent parameters. radius1, radius2 must be different.");
    return false;
  }
  const float rounding = roundValues ? 0.5f : 0.0f;
  const T fill = truncateTo<T>(fillValue + rounding);
  walkDistances(
      block.as<T>(), VolumeFrame(*volume), maskCenter, maskWeights, [&](T& voxel, float q) {
        if (q < inner) {
          voxel = fill;
        } else if (q < outer) {
          const float t = (q - inner) / (outer - inner);
          voxel = truncateTo<T>((1.0f - t) * fillValue + t * static_cast<float>(voxel) + rounding);
        }
      });
  return true;
}

template <class T>
bool RegElasticRegistration::_applyMaskingLabels(VlData* volume, T* /*typeTag*/,
                                                 const NmVec3f& maskCenter,
                                                 const NmVec3f& maskWeights, float radius,
                                                 bool mark) const {
  const VoxelBlock block = openForMasking(volume, NmPrimType::UnsignedChar);
  if (!block.isOpen()) return false;
  const float limit = radius * radius;
  walkDistances(block.as<T>(), VolumeFrame(*volume), maskCenter, maskWeights,
                [&](T& voxel, float q) {
                  if (q < limit) voxel = mark ? static_cast<T>(voxel | 0x80) : T(0);
                });
  return true;
}

template bool RegElasticRegistration::_applyMasking<unsigned short>(VlData*, unsigned short*, bool,
                                                                    float, const NmVec3f&,
                                                                    const NmVec3f&, float,
                                                                    float) const;
template bool RegElasticRegistration::_applyMaskingLabels<unsigned char>(VlData*, unsigned char*,
                                                                         const NmVec3f&,
                                                                         const NmVec3f&, float,
                                                                         bool) const;
