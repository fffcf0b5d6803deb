#include <algorithm>
#include <limits>

#include "foundation/NmLogFile.h"
#include "registration/RegVoxelRegistration.h"

namespace {

using Levels = NmDArray<NmDArray<NmHandle<VlData>>>;

int toInt(long n) {
  return static_cast<int>(std::min<long>(n, std::numeric_limits<int>::max()));
}

NmVec3i gridOf(const VlData& volume) {
  const NmVec3l dims = volume.dims();
  return {toInt(dims.x), toInt(dims.y), toInt(dims.z)};
}

void refuse(const char* reason) {
  getTheLogInstance().errorf("doResampling: %s", reason);
}

}  // namespace

int RegVoxelRegistration::get2DOrientation(const NmVec3i& a, const NmVec3i& b) {
  int flat = 3;
  for (int axis = 0; axis < 3; ++axis) {
    if (a[axis] != 1) continue;
    if (flat != 3) return -1;
    flat = axis;
  }
  for (int axis = 0; axis < 3; ++axis) {
    if (b[axis] != 1) continue;
    if (flat != 3 && flat != axis) return -1;
    flat = axis;
  }
  return flat;
}

int RegVoxelRegistration::get2DOrientation(VlData* a, VlData* b) {
  if (a == nullptr || b == nullptr) return -1;
  return get2DOrientation(gridOf(*a), gridOf(*b));
}

int RegVoxelRegistration::get2DOrientation(NmDArray<NmHandle<VlData>>& referenceVolumes,
                                           NmDArray<NmHandle<VlData>>& modelVolumes, int index) {
  if (referenceVolumes.size < 1 || modelVolumes.size < 1) return -1;
  const long i = std::clamp<long>(index, 0, referenceVolumes.size - 1);
  return get2DOrientation(referenceVolumes[i].get(), modelVolumes[0].get());
}

bool RegVoxelRegistration::doResampling(Levels& referenceLevels, const NmVec3i& /*coarsest*/,
                                        Levels& modelLevels) {
  referenceLevels.clear();
  modelLevels.clear();
  if (reference.size < 1) return true;
  if (get2DOrientation(reference, model, 0) < 0) {
    refuse("A volume is missing, or the volumes are flat on more than one axis.");
    return false;
  }
  for (long k = 1; k < reference.size; ++k) {
    if (reference[k] != nullptr) continue;
    refuse("A further reference volume is missing.");
    return false;
  }
  referenceLevels.resize(1);
  referenceLevels[0] = reference;
  modelLevels.resize(1);
  modelLevels[0].insert(0, 1, &model[0]);
  return true;
}
