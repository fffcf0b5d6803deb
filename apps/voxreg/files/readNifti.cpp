#include <filesystem>
#include <vector>

#include "files/ZipReader.h"
#include "files/niftiHeader.h"
#include "files/niftiVolume.h"
#include "files/voxelFormat.h"
#include "terminal/HostError.h"

namespace host {

namespace {

bool exists(const std::string& path) {
  std::error_code error;
  return std::filesystem::exists(path, error);
}

/// The other file of a pair: the same name with one of these extensions.
std::string partner(const std::string& path, const std::string& end) {
  std::string stem = path;
  if (stem.ends_with(".gz")) stem.resize(stem.size() - 3);
  const std::size_t dot = stem.rfind('.');
  stem.resize(dot == std::string::npos ? stem.size() : dot);
  for (const char* const compression : {"", ".gz"})
    if (exists(stem + end + compression)) return stem + end + compression;
  throw HostError(path + " lacks its " + end + " file");
}

bool isImageOfPair(const std::string& path) {
  return path.ends_with(".img") || path.ends_with(".img.gz");
}

std::string headerPath(const std::string& path) {
  return isImageOfPair(path) && exists(path) ? partner(path, ".hdr") : path;
}

/// Doubles cannot represent all 64-bit integers.
void requireSameBack(const VoxelFormat& format, const void* voxels, const voxreg::MemoryLine& line,
                     const std::vector<char>& stored, const ZipReader& file) {
  std::vector<char> back(stored.size());
  format.storePlain(voxels, line, static_cast<long>(stored.size() / format.size), back.data());
  if (back != stored)
    throw HostError(file.path() + " holds integers that are too large to be represented exactly");
}

/// `file` is that of the voxels; its header, if it has one, has already been read.
NiftiVolume readVoxels(ZipReader& file, const NiftiHeader& source) {
  requirePlausibleSize(file, source);
  file.skip(source.offset);
  const nifti_image& header = *source.image;
  const ValueScale scale = scaleOf(header);
  const VoxelFormat& format = *VoxelFormat::find(header.datatype);
  const LineConversion convert = scale.isIdentity() ? format.convertPlain : format.convertScaled;
  NiftiVolume volume = newVolume(
      source.image, scale.isIdentity() ? format.plainType : format.scaledType, source.path);
  if (scale.isIdentity() && niftiTypeOf(format.plainType) != header.datatype)
    volume.fileType = header.datatype;
  const NmHandle<VlDataAccess> access = volume.image.volume()->lock(true);
  const long nx = volume.grid.dims[0];
  std::vector<char> stored(static_cast<std::size_t>(nx) * static_cast<std::size_t>(header.nbyper));
  for (long k = 0; k < volume.grid.dims[2]; ++k)
    for (long j = 0; j < volume.grid.dims[1]; ++j) {
      file.read(stored.data(), stored.size());
      if (source.isSwapped && header.swapsize > 1)
        nifti_swap_Nbytes(nx, header.swapsize, stored.data());
      const voxreg::MemoryLine line = voxreg::memoryLine(volume.grid, volume.order, j, k);
      convert(stored.data(), nx, scale, access->dataPtr(0), line);
      if (volume.fileType != 0) requireSameBack(format, access->dataPtr(0), line, stored, file);
    }
  file.finish();
  return volume;
}

}  // namespace

NiftiVolume readNifti(const std::string& path) {
  ZipReader file(headerPath(path));
  const NiftiHeader header = readNiftiHeader(file);
  try {
    if (!header.isPair) return readVoxels(file, header);
    ZipReader image(isImageOfPair(path) ? path : partner(path, ".img"));
    return readVoxels(image, header);
  } catch (const NmMemoryException&) {
    throw HostError(path + " does not fit into memory", HostError::failedRun);
  }
}

}  // namespace host
