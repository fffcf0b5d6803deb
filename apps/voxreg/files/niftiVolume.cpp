#include "files/niftiVolume.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "files/niftiHeader.h"
#include "files/voxelFormat.h"
#include "terminal/HostError.h"

namespace host {

namespace {

/// Gives an axis of the file ceil(newDim) voxels, with the scale of newDim; the volume's edges do
/// not move if newDim is an integer.
void scaleAxis(nifti_image& header, int axis, float newDim) {
  const auto oldDim = static_cast<double>(std::max<std::int64_t>(header.dim[axis + 1], 1));
  const double ratio = oldDim / static_cast<double>(newDim);
  const auto dim = static_cast<std::int64_t>(std::ceil(newDim));
  const double shift =
      0.5 * ((oldDim - 1.0) - (static_cast<double>(dim) - 1.0) * ratio);  // in old voxels
  for (nifti_dmat44* const toWorld : {&header.sto_xyz, &header.qto_xyz})
    for (auto& row : toWorld->m) {
      row[3] += shift * row[axis];
      row[axis] *= ratio;
    }
  header.qoffset_x = header.qto_xyz.m[0][3];
  header.qoffset_y = header.qto_xyz.m[1][3];
  header.qoffset_z = header.qto_xyz.m[2][3];
  header.pixdim[axis + 1] *= ratio;
  header.dim[axis + 1] = dim;
  if (dim > 1) header.dim[0] = std::max<std::int64_t>(header.dim[0], axis + 1);
}

}  // namespace

NiftiVolume newVolume(std::shared_ptr<nifti_image> header, NmPrimType type,
                      const std::string& name) {
  NiftiVolume volume;
  volume.header = std::move(header);
  volume.grid = gridOf(*volume.header);
  volume.order = voxreg::VoxelOrder::nearestToWorld(volume.grid);
  const voxreg::WorldGrid grid = volume.order.applied(volume.grid);
  volume.image = voxreg::Image::allocate(type, grid.dims, grid.voxelToWorld());
  if (!volume.image) throw HostError("the header of " + name + " has no usable geometry");
  return volume;
}

NiftiVolume volumeLike(const NiftiVolume& grid, NmPrimType type) {
  NiftiVolume volume = grid;
  volume.fileType = 0;
  volume.image = voxreg::Image::allocate(type, grid.image.dims(), grid.image.voxelToWorld());
  return volume;
}

NiftiVolume newVolume(const NmVec3l& dims, const NmBox3f& box, NmPrimType type) {
  const std::int64_t fileDims[8] = {3, dims.x, dims.y, dims.z, 1, 1, 1, 1};
  const std::shared_ptr<nifti_image> image =
      owned(nifti_make_new_nim(fileDims, niftiTypeOf(type), 0));
  nifti_image& header = *image;
  header.nifti_type = NIFTI_FTYPE_NIFTI1_1;
  const NmVec3f size = box.getVoxelSize(
      NmVec3f(static_cast<float>(dims.x), static_cast<float>(dims.y), static_cast<float>(dims.z)));
  header.dx = header.pixdim[1] = static_cast<double>(size.x);
  header.dy = header.pixdim[2] = static_cast<double>(size.y);
  header.dz = header.pixdim[3] = static_cast<double>(size.z);
  header.xyz_units = NIFTI_UNITS_MM;
  header.sform_code = NIFTI_XFORM_SCANNER_ANAT;
  for (int a = 0; a < 3; ++a) {
    header.sto_xyz.m[a][a] = static_cast<double>(size[a]);
    header.sto_xyz.m[a][3] = static_cast<double>(box.min(a));
  }
  header.sto_xyz.m[3][3] = 1.0;
  return newVolume(image, type);
}

NiftiVolume scaledVolume(const NiftiVolume& original, const NmVec3f& newDims) {
  const std::shared_ptr<nifti_image> header = owned(nifti_copy_nim_info(original.header.get()));
  for (int a = 0; a < 3; ++a) scaleAxis(*header, original.order.gridAxis[a], newDims[a]);
  (void)nifti_update_dims_from_array(header.get());
  return newVolume(header, original.image.type());
}

}  // namespace host
