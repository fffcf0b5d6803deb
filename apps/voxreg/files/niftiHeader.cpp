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

/// Unused dimensions may hold anything in a header: there is one voxel along them.
template <class Raw>
void checkDimensions(Raw& raw, const ZipReader& file) {
  constexpr int mostDimensions = 7;
  const std::int64_t dimensions = raw.dim[0];
  if (dimensions < 1 || dimensions > mostDimensions)
    refuse(file, "declares " + std::to_string(dimensions) + " dimensions");
  for (int a = 1; a <= mostDimensions; ++a) {
    if (a > dimensions) raw.dim[a] = 1;
    if (raw.dim[a] < 1)
      refuse(file,
             "declares " + std::to_string(raw.dim[a]) + " voxels on axis " + std::to_string(a));
  }
}

/// Keeps at most three dimensions.
template <class Raw>
void keepOneVolume(Raw& raw, const ZipReader& file) {
  double volumes = 1.0;
  for (int a = 4; a <= 7; ++a) {
    volumes *= static_cast<double>(raw.dim[a]);
    raw.dim[a] = 1;
  }
  if (raw.dim[0] > 3) raw.dim[0] = 3;
  if (volumes > 1.0)
    throw HostError(file.path() + " holds " +
                    std::to_string(std::llround(std::min(volumes, 1e18))) +
                    " volumes instead of one");
}

/// Vectors of another intent may be in other axes or units.
template <class Raw>
void requireField(const Raw& raw, const ZipReader& file) {
  if (raw.intent_code != NIFTI_INTENT_DISPVECT)
    throw HostError(file.path() + " does not hold displacements (intent " +
                    std::to_string(raw.intent_code) + ", not " +
                    std::to_string(NIFTI_INTENT_DISPVECT) + ")");
  if (raw.dim[4] != 1 || raw.dim[5] != 3 || raw.dim[6] != 1 || raw.dim[7] != 1)
    throw HostError(file.path() + " does not hold three numbers for each voxel on its fifth axis");
  if (raw.datatype != DT_FLOAT32)
    throw HostError(file.path() + " holds displacements of type " +
                    nifti_datatype_to_string(raw.datatype) + ", not FLOAT32");
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
NiftiHeader readVersion(ZipReader& file, NiftiContent content, const char* start, bool isSwapped) {
  Raw raw = {};
  constexpr std::size_t known = sizeof raw.sizeof_hdr;
  constexpr std::size_t rest = sizeof raw - known;
  char* const bytes = static_cast<char*>(static_cast<void*>(&raw));
  std::memcpy(bytes, start, known);
  if (file.readUpTo(bytes + known, rest) != rest) refuse(file);
  if (isSwapped) swap_nifti_header(&raw, NiftiVersion<Raw>::number);
  const bool isPair = hasMagic(raw, NiftiVersion<Raw>::pair);
  if (!isPair && !hasMagic(raw, NiftiVersion<Raw>::single)) refuse(file);
  checkDimensions(raw, file);
  if (content == NiftiContent::field)
    requireField(raw, file);
  else
    keepOneVolume(raw, file);
  requireRealVoxels(file, raw.datatype);
  const std::uint64_t offset = offsetOfVoxels(raw, isPair, file);
  const std::shared_ptr<nifti_image> image = owned(NiftiVersion<Raw>::toImage(raw, nullptr));
  image->nifti_type = NiftiVersion<Raw>::type;
  return {file.path(), image, offset, isSwapped, isPair};
}

/// The header's unit of length.
double millimetres(const nifti_image& header) {
  if (header.xyz_units == NIFTI_UNITS_METER) return 1000.0;
  return header.xyz_units == NIFTI_UNITS_MICRON ? 0.001 : 1.0;
}

}  // namespace

NiftiHeader readNiftiHeader(ZipReader& file, NiftiContent content) {
  nifti_set_debug_level(0);
  char start[4];
  if (file.readUpTo(start, sizeof start) != sizeof start) refuse(file);
  for (const bool isSwapped : {false, true}) {
    std::int32_t size = 0;
    std::memcpy(&size, start, sizeof size);
    if (isSwapped) nifti_swap_4bytes(1, &size);
    if (size == sizeof(nifti_1_header))
      return readVersion<nifti_1_header>(file, content, start, isSwapped);
    if (size == sizeof(nifti_2_header))
      return readVersion<nifti_2_header>(file, content, start, isSwapped);
  }
  refuse(file);
}

std::shared_ptr<nifti_image> owned(nifti_image* image) {
  if (image == nullptr) throw HostError("not enough memory for a header", HostError::failedRun);
  return {image, [](nifti_image* header) { nifti_image_free(header); }};
}

voxreg::WorldGrid gridOf(const nifti_image& header) {
  const nifti_dmat44& toWorld = header.sform_code > 0 ? header.sto_xyz : header.qto_xyz;
  NmVec3l dims;
  for (int a = 0; a < 3; ++a) dims[a] = std::max<long>(header.dim[a + 1], 1);
  const double mm = millimetres(header);
  NmMat4d matrix;
  for (int w = 0; w < 3; ++w)
    for (int a = 0; a < 4; ++a) matrix.m[a][w] = mm * toWorld.m[w][a];
  return {dims, matrix};
}

ValueScale scaleOf(const nifti_image& header) {
  const bool scaled =
      std::isfinite(header.scl_slope) && std::isfinite(header.scl_inter) && header.scl_slope != 0.0;
  return scaled ? ValueScale{header.scl_slope, header.scl_inter} : ValueScale{};
}

void requirePlausibleSize(const ZipReader& file, const NiftiHeader& header) {
  double needed = header.image->nbyper;
  for (int a = 1; a <= 7; ++a) needed *= static_cast<double>(header.image->dim[a]);
  if (!file.mayHold(needed + static_cast<double>(header.offset)))
    throw HostError(file.path() + " is cut short");
}

}  // namespace host
