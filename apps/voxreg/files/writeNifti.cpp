#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "files/niftiHeader.h"
#include "files/niftiVersion.h"
#include "files/niftiVolume.h"
#include "files/voxelFormat.h"
#include "terminal/HostError.h"

namespace host {

namespace {

constexpr std::int64_t largestOfVersion1 = 32767;

/// The version of the file from which the geometry comes, so that none of it is lost, or the one
/// that the dimensions require.
bool needsVersion2(const nifti_image& header) {
  return header.nifti_type == NiftiVersion<nifti_2_header>::type ||
         *std::max_element(header.dim + 1, header.dim + 4) > largestOfVersion1;
}

template <class Raw>
std::vector<char> bytesOf(const nifti_image& image) {
  Raw raw = {};
  if (NiftiVersion<Raw>::fromImage(&image, &raw) != 0)
    throw HostError("the header cannot be represented in a file", HostError::failedRun);
  std::memcpy(raw.magic, NiftiVersion<Raw>::single, sizeof raw.magic);
  constexpr int noExtension = 4;
  constexpr int size = sizeof raw + noExtension;
  raw.vox_offset = size;
  std::vector<char> bytes(size);
  std::memcpy(bytes.data(), &raw, sizeof raw);
  return bytes;
}

const VoxelFormat& formatOf(const NiftiVolume& volume) {
  const int type =
      volume.fileType != 0 ? volume.fileType : niftiTypeOf(volume.image.volume()->primType());
  return *VoxelFormat::find(type);
}

/// The start of this volume's file: the geometry is kept, the values are unscaled.
std::vector<char> headerOf(const NiftiVolume& volume) {
  const std::shared_ptr<nifti_image> image = owned(nifti_copy_nim_info(volume.header.get()));
  image->datatype = formatOf(volume).niftiType;
  nifti_datatype_sizes(image->datatype, &image->nbyper, &image->swapsize);
  image->scl_slope = 1.0;
  image->scl_inter = 0.0;
  image->cal_min = image->cal_max = 0.0;
  return needsVersion2(*image) ? bytesOf<nifti_2_header>(*image) : bytesOf<nifti_1_header>(*image);
}

bool writeBytes(gzFile file, const std::vector<char>& bytes) {
  return gzfwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

bool writeVoxels(gzFile file, const NiftiVolume& volume, const VlDataAccess& access) {
  const VoxelFormat& format = formatOf(volume);
  const long nx = volume.grid.dims[0];
  std::vector<char> stored(static_cast<std::size_t>(nx) * format.size);
  for (long k = 0; k < volume.grid.dims[2]; ++k)
    for (long j = 0; j < volume.grid.dims[1]; ++j) {
      format.storePlain(access.dataPtr(0), voxreg::memoryLine(volume.grid, volume.order, j, k), nx,
                        stored.data());
      if (!writeBytes(file, stored)) return false;
    }
  return true;
}

bool isCompressedName(const std::string& path) {
  return path.ends_with(".nii.gz");
}

}  // namespace

void writeNifti(OutputFiles& outputs, const std::string& path, const NiftiVolume& volume) {
  const std::vector<char> header = headerOf(volume);
  const NmHandle<VlDataAccess> access = volume.image.volume()->lock(false);
  if (access == nullptr)
    throw HostError("cannot write " + path + ": its volume is in use", HostError::failedRun);
  // "T" writes the bytes uncompressed.
  gzFile_s* const file = gzopen(outputs.add(path).c_str(), isCompressedName(path) ? "wb" : "wbT");
  if (file == nullptr) OutputFiles::fail(path);
  const bool written = writeBytes(file, header) && writeVoxels(file, volume, *access);
  if (gzclose(file) != Z_OK || !written) OutputFiles::fail(path);
}

void requireWritableNifti(const std::string& path) {
  if (!isCompressedName(path) && !path.ends_with(".nii"))
    throw HostError("cannot write " + path + ": its name does not end in .nii or .nii.gz");
  OutputFiles::requireWritable(path);
}

}  // namespace host
