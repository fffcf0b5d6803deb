#include "niftiVolume.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <vector>

#include "HostError.h"
#include "voxelFormat.h"

namespace host {

namespace {

/// A plain or compressed file.
using ZipFile = std::unique_ptr<gzFile_s, decltype([](gzFile_s* file) { gzclose(file); })>;

std::shared_ptr<nifti_image> owned(nifti_image* header) {
  return {header, [](nifti_image* image) { nifti_image_free(image); }};
}

void requireOneRealVolume(const std::string& path, const nifti_image& header) {
  // Dimensions that a header does not use may be 0.
  if (std::max({header.nt, header.nu, header.nv, header.nw}) > 1)
    throw HostError(path + " holds more than one volume");
  if (VoxelFormat::find(header.datatype) == nullptr)
    throw HostError(path + " holds voxels of type " + nifti_datatype_to_string(header.datatype) +
                    ", not one real number each");
}

/// Asked before nifti_image_read, which writes lines of its own about bad headers.
bool startsWithGoodHeader(const std::string& path) {
  nifti_1_header header = {};
  const ZipFile file(gzopen(path.c_str(), "rb"));
  if (file == nullptr || gzfread(&header, sizeof header, 1, file.get()) != 1) return false;
  constexpr int headerBytes = 348;
  if (header.sizeof_hdr != headerBytes) swap_nifti_header(&header, 1);
  return header.sizeof_hdr == headerBytes && NIFTI_VERSION(header) == 1 &&
         nifti_hdr_looks_good(&header) != 0;
}

std::shared_ptr<nifti_image> readHeader(const std::string& path) {
  if (!std::filesystem::exists(path)) throw HostError(path + " does not exist");
  nifti_set_debug_level(0);
  std::shared_ptr<nifti_image> header;
  if (startsWithGoodHeader(path)) header = owned(nifti_image_read(path.c_str(), 0));
  if (header == nullptr) throw HostError(path + " is not a NIfTI-1 file");
  if (header->iname == nullptr) throw HostError(path + " lacks its .img file");
  requireOneRealVolume(path, *header);
  return header;
}

/// The header's unit of length.
double millimetres(const nifti_image& header) {
  if (header.xyz_units == NIFTI_UNITS_METER) return 1000.0;
  return header.xyz_units == NIFTI_UNITS_MICRON ? 0.001 : 1.0;
}

FileGrid gridOf(const nifti_image& header) {
  const mat44& toWorld = header.sform_code > 0 ? header.sto_xyz : header.qto_xyz;
  FileGrid grid;
  const long dims[3] = {header.nx, header.ny, header.nz};
  for (int a = 0; a < 3; ++a) grid.dims[a] = std::max(dims[a], 1L);
  const double mm = millimetres(header);
  for (int w = 0; w < 3; ++w) {
    for (int a = 0; a < 3; ++a) grid.axis[a][w] = mm * toWorld.m[w][a];
    grid.origin[w] = mm * toWorld.m[w][3];
  }
  grid.completeFlatAxis();
  return grid;
}

void placeInWorld(const std::string& name, NiftiVolume& volume) {
  volume.grid = gridOf(*volume.header);
  volume.order = VoxelOrder::nearestToWorld(volume.grid);
  const std::optional<VolumeFrame> frame = VolumeFrame::of(volume.grid, volume.order);
  if (!frame) throw HostError("the header of " + name + " has no usable geometry");
  volume.frame = *frame;
}

/// Gives the volume zeroed voxels of a type, and its box. Throws NmMemoryException.
void allocate(NiftiVolume& volume, NmPrimType type) {
  volume.data = new VlMemoryData(nullptr);
  const bool done = volume.data->init(volume.frame.dims, type, 1, true, true, true).isOk() &&
                    volume.data->setBoundingBox(volume.frame.box).isOk();
  if (!done) throw NmMemoryException();
}

/// Gives an axis of the file ceil(newDim) voxels, the scale being that of newDim; the volume's
/// edges stay where they are where newDim is a whole number.
void scaleAxis(nifti_image& header, int axis, float newDim) {
  const double oldDim = std::max(header.dim[axis + 1], 1);
  const double ratio = oldDim / static_cast<double>(newDim);
  const int dim = static_cast<int>(std::ceil(newDim));
  const double shift = 0.5 * ((oldDim - 1.0) - (dim - 1.0) * ratio);  // in old voxels
  for (mat44* const toWorld : {&header.sto_xyz, &header.qto_xyz})
    for (auto& row : toWorld->m) {
      row[3] = static_cast<float>(row[3] + shift * static_cast<double>(row[axis]));
      row[axis] = static_cast<float>(row[axis] * ratio);
    }
  header.qoffset_x = header.qto_xyz.m[0][3];
  header.qoffset_y = header.qto_xyz.m[1][3];
  header.qoffset_z = header.qto_xyz.m[2][3];
  header.pixdim[axis + 1] = static_cast<float>(header.pixdim[axis + 1] * ratio);
  header.dim[axis + 1] = dim;
  if (dim > 1) header.dim[0] = std::max(header.dim[0], axis + 1);
}

ValueScale scaleOf(const nifti_image& header) {
  const bool scaled = std::isfinite(header.scl_slope) && std::isfinite(header.scl_inter) &&
                      header.scl_slope != 0.0f;
  return scaled ? ValueScale{header.scl_slope, header.scl_inter} : ValueScale{};
}

/// Deflate packs no more than 1032 bytes into one, so that a file too small for what its header
/// announces is found before any memory is taken.
void requirePlausibleSize(const std::string& path, const nifti_image& header) {
  constexpr double densest = 1032.0;
  const double factor = nifti_is_gzfile(header.iname) != 0 ? densest : 1.0;
  std::error_code error;
  const double bytes = static_cast<double>(std::filesystem::file_size(header.iname, error));
  const double needed = static_cast<double>(header.nvox) * header.nbyper + header.iname_offset;
  if (error || bytes * factor < needed) throw HostError(path + " is cut short");
}

/// Reads and drops what follows the voxels, so that the checksum of a compressed file is tested.
bool endsWell(gzFile file) {
  char rest[4096];
  int count = 0;
  do {
    count = gzread(file, rest, sizeof rest);
  } while (count > 0);
  int state = Z_OK;
  (void)gzerror(file, &state);
  return count == 0 && (state == Z_OK || state == Z_STREAM_END);
}

void readVoxels(const std::string& path, NiftiVolume& volume) {
  const nifti_image& header = *volume.header;
  const ValueScale scale = scaleOf(header);
  const VoxelFormat& format = *VoxelFormat::find(header.datatype);
  requirePlausibleSize(path, header);
  allocate(volume, scale.isIdentity() ? format.plainType : format.scaledType);
  const LineConversion convert = scale.isIdentity() ? format.convertPlain : format.convertScaled;

  const NmHandle<VlDataAccess> access = volume.data->lock(true);
  const ZipFile file(gzopen(header.iname, "rb"));
  bool good = file != nullptr && gzseek(file.get(), header.iname_offset, SEEK_SET) >= 0;
  const long nx = volume.grid.dims[0];
  const std::size_t bytes = static_cast<std::size_t>(nx) * static_cast<std::size_t>(header.nbyper);
  std::vector<char> stored(bytes);
  for (long k = 0; good && k < volume.grid.dims[2]; ++k)
    for (long j = 0; good && j < volume.grid.dims[1]; ++j) {
      good = gzfread(stored.data(), 1, bytes, file.get()) == bytes;
      if (!good) break;
      if (header.byteorder != nifti_short_order() && header.swapsize > 1)
        nifti_swap_Nbytes(bytes / static_cast<std::size_t>(header.swapsize), header.swapsize,
                          stored.data());
      convert(stored.data(), nx, scale, access->dataPtr(0),
              memoryLine(volume.grid, volume.order, j, k));
    }
  if (!good || !endsWell(file.get())) throw HostError(path + " is cut short or damaged");
}

/// The header that a file of this volume gets: the geometry stays, the values are plain.
nifti_1_header headerToWrite(const NiftiVolume& volume) {
  const std::shared_ptr<nifti_image> image = owned(nifti_copy_nim_info(volume.header.get()));
  if (image == nullptr) throw HostError("no room for a header", HostError::failedRun);
  image->datatype = niftiTypeOf(volume.data->primType());
  nifti_datatype_sizes(image->datatype, &image->nbyper, &image->swapsize);
  image->scl_slope = 1.0f;
  image->scl_inter = 0.0f;
  image->cal_min = image->cal_max = 0.0f;
  image->nifti_type = NIFTI_FTYPE_NIFTI1_1;
  image->iname_offset = 352;
  return nifti_convert_nim2nhdr(image.get());
}

/// One line of the file, gathered from the volume's memory.
void gather(const void* voxels, const MemoryLine& line, std::size_t size,
            std::vector<char>& stored) {
  const char* const first = static_cast<const char*>(voxels);
  const long n = static_cast<long>(stored.size() / size);
  for (long i = 0; i < n; ++i)
    std::memcpy(stored.data() + static_cast<std::size_t>(i) * size,
                first + static_cast<std::size_t>(line.start + i * line.stride) * size, size);
}

bool writeVoxels(gzFile file, const NiftiVolume& volume, const VlDataAccess& access) {
  const std::size_t size =
      static_cast<std::size_t>(NmPrimType::primTypeSize[static_cast<int>(volume.data->primType())]);
  std::vector<char> stored(static_cast<std::size_t>(volume.grid.dims[0]) * size);
  for (long k = 0; k < volume.grid.dims[2]; ++k)
    for (long j = 0; j < volume.grid.dims[1]; ++j) {
      gather(access.dataPtr(0), memoryLine(volume.grid, volume.order, j, k), size, stored);
      if (gzfwrite(stored.data(), 1, stored.size(), file) != stored.size()) return false;
    }
  return true;
}

bool isCompressedName(const std::string& path) {
  return path.ends_with(".nii.gz");
}

}  // namespace

NiftiVolume readNifti(const std::string& path) {
  NiftiVolume volume;
  volume.header = readHeader(path);
  try {
    placeInWorld(path, volume);
    readVoxels(path, volume);
  } catch (const NmMemoryException&) {
    throw HostError(path + " does not fit into memory");
  }
  return volume;
}

NiftiVolume volumeLike(const NiftiVolume& grid, NmPrimType type) {
  NiftiVolume volume = grid;
  allocate(volume, type);
  return volume;
}

NiftiVolume newVolume(const NmVec3l& dims, const NmBox3f& box, NmPrimType type) {
  const int fileDims[8] = {
      3, static_cast<int>(dims.x), static_cast<int>(dims.y), static_cast<int>(dims.z), 1, 1, 1, 1};
  NiftiVolume volume;
  volume.header = owned(nifti_make_new_nim(fileDims, niftiTypeOf(type), 0));
  if (volume.header == nullptr) throw HostError("no room for a header", HostError::failedRun);
  nifti_image& header = *volume.header;
  const NmVec3f size = box.getVoxelSize(
      NmVec3f(static_cast<float>(dims.x), static_cast<float>(dims.y), static_cast<float>(dims.z)));
  header.dx = header.pixdim[1] = size.x;
  header.dy = header.pixdim[2] = size.y;
  header.dz = header.pixdim[3] = size.z;
  header.xyz_units = NIFTI_UNITS_MM;
  header.sform_code = NIFTI_XFORM_SCANNER_ANAT;
  for (int a = 0; a < 3; ++a) {
    header.sto_xyz.m[a][a] = size[a];
    header.sto_xyz.m[a][3] = box.min(a);
  }
  header.sto_xyz.m[3][3] = 1.0f;
  placeInWorld("the new volume", volume);
  allocate(volume, type);
  return volume;
}

NiftiVolume scaledVolume(const NiftiVolume& original, const NmVec3f& newDims) {
  NiftiVolume volume = original;
  volume.header = owned(nifti_copy_nim_info(original.header.get()));
  if (volume.header == nullptr) throw NmMemoryException();
  for (int a = 0; a < 3; ++a) scaleAxis(*volume.header, original.order.fileAxis[a], newDims[a]);
  nifti_update_dims_from_array(volume.header.get());
  placeInWorld("the new volume", volume);
  allocate(volume, original.data->primType());
  return volume;
}

void writeNifti(OutputFiles& outputs, const std::string& path, const NiftiVolume& volume) {
  const nifti_1_header header = headerToWrite(volume);
  const char noExtension[4] = {};
  const NmHandle<VlDataAccess> access = volume.data->lock(false);
  if (access == nullptr)
    throw HostError("cannot write " + path + ": its volume is in use", HostError::failedRun);
  // "T" writes the bytes as they are.
  gzFile_s* const file = gzopen(outputs.add(path).c_str(), isCompressedName(path) ? "wb" : "wbT");
  if (file == nullptr) OutputFiles::fail(path);
  const bool written = gzfwrite(&header, sizeof header, 1, file) == 1 &&
                       gzfwrite(noExtension, sizeof noExtension, 1, file) == 1 &&
                       writeVoxels(file, volume, *access);
  if (gzclose(file) != Z_OK || !written) OutputFiles::fail(path);
}

void requireWritableNifti(const std::string& path) {
  if (!isCompressedName(path) && !path.ends_with(".nii"))
    throw HostError("cannot write " + path + ": its name ends neither in .nii nor in .nii.gz");
  OutputFiles::requireWritable(path);
}

}  // namespace host
