#include "files/niftiHeader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "files/niftiVersion.h"
#include "files/voxelFormat.h"
#include "terminal/HostError.h"

namespace host {

namespace {

[[noreturn]] void refuse(const ZipReader& file) {
  throw HostError(file.path() + (file.lacksItsCompression()
                                     ? " is not a gzip file, though its name ends in .gz"
                                     : " is not a NIfTI file"));
}

[[noreturn]] void refuse(const ZipReader& file, const std::string& fault) {
  throw HostError("the header of " + file.path() + " " + fault);
}

template <class Raw>
bool hasMagic(const Raw& raw, const char* magic) {
  return std::memcmp(raw.magic, magic, sizeof raw.magic) == 0;
}

/// Keeps at most three dimensions. Unused ones may hold anything in a header.
template <class Raw>
void keepOneVolume(Raw& raw, const ZipReader& file) {
  constexpr int mostDimensions = 7;
  const std::int64_t dimensions = raw.dim[0];
  if (dimensions < 1 || dimensions > mostDimensions)
    refuse(file, "declares " + std::to_string(dimensions) + " dimensions");
  double volumes = 1.0;
  for (int a = 1; a <= mostDimensions; ++a) {
    if (a > dimensions) raw.dim[a] = 1;
    if (raw.dim[a] < 1)
      refuse(file,
             "declares " + std::to_string(raw.dim[a]) + " voxels on axis " + std::to_string(a));
    if (a <= 3) continue;
    volumes *= static_cast<double>(raw.dim[a]);
    raw.dim[a] = 1;
  }
  if (dimensions > 3) raw.dim[0] = 3;
  if (volumes > 1.0)
    throw HostError(file.path() + " holds " +
                    std::to_string(std::llround(std::min(volumes, 1e18))) +
                    " volumes instead of one");
}

void requireRealVoxels(const ZipReader& file, int type) {
  if (VoxelFormat::find(type) != nullptr) return;
  throw HostError(file.path() + " holds voxels of type " + nifti_datatype_to_string(type) +
                  ", not one real number each");
}

/// At least after the header if they share a file.
template <class Raw>
std::uint64_t offsetOfVoxels(const Raw& raw, bool isPair, const ZipReader& file) {
  constexpr double most = 9e15;  // doubles represent all integers up to here
  const auto offset = static_cast<double>(raw.vox_offset);
  if (!(offset >= 0.0 && offset <= most)) refuse(file, "gives no valid offset of the voxels");
  const std::uint64_t before = isPair ? 0 : sizeof raw;
  return std::max(static_cast<std::uint64_t>(offset), before) - before;
}

/// `start` already holds the first four bytes.
template <class Raw>
NiftiHeader readVersion(ZipReader& file, const char* start, bool isSwapped) {
  Raw raw = {};
  constexpr std::size_t known = sizeof raw.sizeof_hdr;
  constexpr std::size_t rest = sizeof raw - known;
  char* const bytes = static_cast<char*>(static_cast<void*>(&raw));
  std::memcpy(bytes, start, known);
  if (file.readUpTo(bytes + known, rest) != rest) refuse(file);
  if (isSwapped) swap_nifti_header(&raw, NiftiVersion<Raw>::number);
  const bool isPair = hasMagic(raw, NiftiVersion<Raw>::pair);
  if (!isPair && !hasMagic(raw, NiftiVersion<Raw>::single)) refuse(file);
  keepOneVolume(raw, file);
  requireRealVoxels(file, raw.datatype);
  const std::uint64_t offset = offsetOfVoxels(raw, isPair, file);
  const std::shared_ptr<nifti_image> image = owned(NiftiVersion<Raw>::toImage(raw, nullptr));
  image->nifti_type = NiftiVersion<Raw>::type;
  return {file.path(), image, offset, isSwapped, isPair};
}

}  // namespace

NiftiHeader readNiftiHeader(ZipReader& file) {
  nifti_set_debug_level(0);
  char start[4];
  if (file.readUpTo(start, sizeof start) != sizeof start) refuse(file);
  for (const bool isSwapped : {false, true}) {
    std::int32_t size = 0;
    std::memcpy(&size, start, sizeof size);
    if (isSwapped) nifti_swap_4bytes(1, &size);
    if (size == sizeof(nifti_1_header)) return readVersion<nifti_1_header>(file, start, isSwapped);
    if (size == sizeof(nifti_2_header)) return readVersion<nifti_2_header>(file, start, isSwapped);
  }
  refuse(file);
}

std::shared_ptr<nifti_image> owned(nifti_image* image) {
  if (image == nullptr) throw HostError("not enough memory for a header", HostError::failedRun);
  return {image, [](nifti_image* header) { nifti_image_free(header); }};
}

}  // namespace host
