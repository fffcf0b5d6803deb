#include "files/resampled.h"

#include <sstream>

#include "files/voxelFormat.h"
#include "files/voxelTypes.h"
#include "terminal/HostError.h"

namespace host {

namespace {

/// Whether a file of this type preserves the voxel.
template <class T>
bool isKeptBy(int fileType, T voxel) {
  const VoxelFormat& format = *VoxelFormat::find(fileType);
  const voxreg::MemoryLine line = {0, 1};
  char stored[sizeof(double)];
  T back;
  format.storePlain(&voxel, line, 1, stored);
  format.convertPlain(stored, 1, {}, &back, line);
  return back == voxel;
}

/// Whether both the model and the file can hold the value.
bool canHold(const NiftiVolume& model, double value) {
  bool fits = voxreg::canHold(model.image, value);
  if (model.fileType != 0)
    withVoxelType(model.image.type(),
                  [&]<class T>() { fits = fits && isKeptBy(model.fileType, asVoxel<T>(value)); });
  return fits;
}

}  // namespace

void requireBackground(const NiftiVolume& model, const voxreg::ResampleOptions& options) {
  const double value = voxreg::backgroundFor(model.image, options);
  if (canHold(model, value)) return;
  std::ostringstream text;
  text << value << " cannot be the background: the model's voxels cannot hold it";
  throw HostError(text.str());
}

NiftiVolume resampled(const NiftiVolume& reference, const NiftiVolume& model,
                      const voxreg::Transform& transform, const voxreg::ResampleOptions& options) {
  requireBackground(model, options);
  NiftiVolume result = reference;
  result.fileType = model.fileType;
  result.image = voxreg::resample(model.image, transform, reference.image, options);
  if (!result.image) throw HostError("a volume cannot be read", HostError::failedRun);
  return result;
}

}  // namespace host
