#include <algorithm>
#include <cstdint>
#include <memory>

#include "foundation/NmLogFile.h"
#include "foundation/NmMat4d.h"
#include "foundation/voxels/volumeFrame.h"
#include "functional/RegFunctional.h"
#include "registration/RegVoxelRegistration.h"
#include "transforms/RegAffineTransform.h"
#include "transforms/RegTools.h"

namespace {

using Descriptor = RegNonAffineTransform::NonAffineTransformDescriptor;

constexpr std::int64_t parameterCount = 15;

void widenIfFlat(float& min, float& max) {
  if (min > max) std::swap(min, max);
  if (min < max) return;
  min -= 0.5f;
  max += 0.5f;
}

/// The identity over a volume. A flat axis gets an extent, without which there is no grid.
Descriptor identityOver(const VlData& volume) {
  Descriptor start;
  start.box = voxreg::detail::boxOf(volume);
  widenIfFlat(start.box.xmin, start.box.xmax);
  widenIfFlat(start.box.ymin, start.box.ymax);
  widenIfFlat(start.box.zmin, start.box.zmax);
  return start;
}

NmVec3f centreOf(const NmDArray<NmHandle<VlData>>& volumes) {
  if (volumes.size < 1 || volumes[0] == nullptr) return {};
  return voxreg::detail::VolumeFrame(*volumes[0]).centre();
}

/// |v|^2 above what is worth a line in the log.
bool isNoticeable(const NmVec3f& v) {
  return static_cast<double>(v.x * v.x + v.y * v.y + v.z * v.z) > 1.0e-6;
}

}  // namespace

void RegVoxelRegistration::createTransform() {
  createTransform(false, NmVec3i());
}

void RegVoxelRegistration::createTransform(bool nonAffine, const NmVec3i& numBricks) {
  std::unique_ptr<RegParametricTransform> created;
  if (!hasVolumes())
    getTheLogInstance().errorf("createTransform: There is no reference or no model.");
  else if (!nonAffine)
    created.reset(new RegAffineTransform(reference, model[0], matrix, 12));
  else if (nonAffineResult.box.volume() > 0.0f)
    created.reset(new RegNonAffineTransform(nonAffineResult, numBricks));
  else
    created.reset(new RegNonAffineTransform(identityOver(*reference[0]), numBricks));
  for (std::int64_t i = 0; functionals != nullptr && i < functionals->size; ++i) {
    RegFunctional* const functional = functionals->data[i];
    if (functional != nullptr) functional->transform = created.get();
  }
  deleteTransform();
  transform = created.release();
  if (transform != nullptr) transformModel_ = model[0];
}

void RegVoxelRegistration::decomposeMatrix(const NmMat4f& m, NmDVector<double>& params) {
  NmMat4d wide;
  wide.setValue(m);
  params.resize(parameterCount);
  RegTools::decomposeMatrix(wide, params);
}

void RegVoxelRegistration::composeMatrix(NmDVector<double>& params, NmMat4f& m) {
  while (params.size < parameterCount) {
    const double identity = params.size >= 6 && params.size < 9 ? 1.0 : 0.0;
    params.insert(params.size, 1, &identity);
  }
  NmMat4d wide;
  RegTools::composeMatrix(params, wide);
  wide.getValue(m);
}

void RegVoxelRegistration::logCurrentAffineTransform() {
  const auto* affine = dynamic_cast<RegAffineTransform*>(transform);
  if (affine == nullptr) return;
  NmMat4f current;
  affine->absoluteMatrix.getValue(current);
  NmDVector<double> params;
  decomposeMatrix(current, params);
  const NmVec3f centre = centreOf(model);
  const NmVec3f moved = current.multDirMatrix(centre);
  NmVec3f translation;
  NmVec3f rotation;
  for (int i = 0; i < 3; ++i) {
    translation[i] = static_cast<float>(params[i]) + moved[i] - centre[i];
    rotation[i] = static_cast<float>(params[3 + i]);
  }
  if (!isNoticeable(translation) && !isNoticeable(rotation)) return;
  getTheLogInstance().printf("current trafo: translation %.3f %.3f %.3f   rotation %.3f %.3f %.3f",
                             translation.x, translation.y, translation.z, rotation.x, rotation.y,
                             rotation.z);
}
