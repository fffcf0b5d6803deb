#include <memory>
#include <vector>

#include "files/NiftiWriter.h"
#include "files/niftiHeader.h"
#include "files/niftiVolume.h"
#include "files/voxelFormat.h"
#include "terminal/HostError.h"

namespace host {

namespace {

const VoxelFormat& formatOf(const NiftiVolume& volume) {
  const int type =
      volume.fileType != 0 ? volume.fileType : niftiTypeOf(volume.image.volume()->primType());
  return *VoxelFormat::find(type);
}

/// The header of this volume's file: the geometry is kept, the values are unscaled.
std::shared_ptr<nifti_image> headerOf(const NiftiVolume& volume) {
  std::shared_ptr<nifti_image> image = owned(nifti_copy_nim_info(volume.header.get()));
  image->datatype = formatOf(volume).niftiType;
  nifti_datatype_sizes(image->datatype, &image->nbyper, &image->swapsize);
  image->scl_slope = 1.0;
  image->scl_inter = 0.0;
  image->cal_min = image->cal_max = 0.0;
  return image;
}

void writeVoxels(NiftiWriter& file, const NiftiVolume& volume, const VlDataAccess& access) {
  const VoxelFormat& format = formatOf(volume);
  const long nx = volume.grid.dims[0];
  std::vector<char> stored(static_cast<std::size_t>(nx) * format.size);
  for (long k = 0; k < volume.grid.dims[2]; ++k)
    for (long j = 0; j < volume.grid.dims[1]; ++j) {
      format.storePlain(access.dataPtr(0), voxreg::memoryLine(volume.grid, volume.order, j, k), nx,
                        stored.data());
      file.write(stored.data(), stored.size());
    }
}

}  // namespace

void writeNifti(OutputFiles& outputs, const std::string& path, const NiftiVolume& volume) {
  const std::shared_ptr<nifti_image> header = headerOf(volume);
  const NmHandle<VlDataAccess> access = volume.image.volume()->lock(false);
  if (access == nullptr)
    throw HostError("cannot write " + path + ": its volume is in use", HostError::failedRun);
  NiftiWriter file(outputs, path, *header);
  writeVoxels(file, volume, *access);
  file.finish();
}

void requireWritableNifti(const std::string& path) {
  if (!isNiftiName(path))
    throw HostError("cannot write " + path + ": its name does not end in .nii or .nii.gz");
  OutputFiles::requireWritable(path);
}

}  // namespace host
