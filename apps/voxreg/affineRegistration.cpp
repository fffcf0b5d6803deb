#include "affineRegistration.h"

#include <cmath>

#include "HostError.h"
#include "resampled.h"

namespace host {

namespace {

NmDArray<NmHandle<VlData>> listOf(const NiftiVolume& volume) {
  NmHandle<VlData> handle = volume.data;
  NmDArray<NmHandle<VlData>> list;
  list.insert(0, 1, &handle);
  return list;
}

NmVec2f rangeOf(const NiftiVolume& volume) {
  NmVec2f range;
  (void)volume.data->range(range.x, range.y, true);
  return range;
}

/// The axis on which a volume has one voxel; 3 where there is none.
int flatAxis(const NiftiVolume& volume) {
  int axis = 0;
  while (axis < 3 && volume.frame.dims[axis] != 1) ++axis;
  return axis;
}

/// Step lengths from the largest to the smallest, each about half of the one before.
std::vector<float> stepLengths(float largest, float smallest) {
  const int count = static_cast<int>(std::lround(std::log2(largest / smallest)));
  std::vector<float> steps;
  for (int i = 0; i <= count; ++i)
    steps.push_back(static_cast<float>(
        largest * std::pow(static_cast<double>(smallest) / largest, i / std::max(count, 1.0))));
  return steps;
}

/// 9 has no switch among the affine stages; as the code of another stage it is a number of degrees of
/// freedom all the same.
void setStage(RegVoxelRegistration& registration, int degreesOfFreedom) {
  const auto isOn = [&](int code) { return degreesOfFreedom == code ? 1 : 0; };
  registration.affineStages = NmVec4i(isOn(3), isOn(6), isOn(7), isOn(12));
  registration.nonAffineStages = NmVec3i(9 * isOn(9), 0, 0);
}

/// Mean squared difference by the best-neighbour search on one level at full resolution.
RegVoxelRegistration makeRegistration();

}  // namespace

std::vector<int> stagesFor(int degreesOfFreedom) {
  if (degreesOfFreedom <= 6) return {degreesOfFreedom};
  return {6, degreesOfFreedom};
}

}  // namespace host
