#pragma once

#include <nifti2_io.h>
#include <voxreg.h>

#include <memory>
#include <string>

#include "files/OutputFiles.h"

namespace host {

/// A volume read from a NIfTI file, or to be written to one.
struct NiftiVolume {
  voxreg::Image image;                  ///< with the axes closest to the world's
  voxreg::WorldGrid grid;               ///< of the file
  voxreg::VoxelOrder order;             ///< of the image's axes in terms of the file's
  std::shared_ptr<nifti_image> header;  ///< without voxels
  int fileType = 0;                     ///< NIfTI data type of its file; 0: that of the voxels
};

/// Reads a volume of one real number per voxel, NIfTI-1 or NIfTI-2: .nii, or a .hdr and .img pair
/// by either name, compressed or not. Throws HostError with a clear message for anything else.
NiftiVolume readNifti(const std::string& path);

/// A new zeroed volume with the geometry of a header from a file of this name. Throws HostError if
/// there is no usable geometry, and NmMemoryException.
NiftiVolume newVolume(std::shared_ptr<nifti_image> header, NmPrimType type,
                      const std::string& name = "the new volume");

/// A new zeroed volume of a voxel type on the grid of another.
NiftiVolume volumeLike(const NiftiVolume& grid, NmPrimType type);

/// A new zeroed volume about the same centre, of ceil(newDims) voxels along the axes of the frame.
/// The voxel size grows by the ratio of the dimensions to newDims. Throws NmMemoryException.
NiftiVolume scaledVolume(const NiftiVolume& original, const NmVec3f& newDims);

/// A new zeroed volume along the world's axes.
NiftiVolume newVolume(const NmVec3l& dims, const NmBox3f& box, NmPrimType type);

/// Writes .nii, or .nii.gz if the path ends in it, with the geometry of the volume's header and in
/// the NIfTI version that it came from. Integer types round to the nearest and saturate. Throws
/// HostError.
void writeNifti(OutputFiles& outputs, const std::string& path, const NiftiVolume& volume);

/// Throws HostError unless `path` names a NIfTI file that can be written.
void requireWritableNifti(const std::string& path);

}  // namespace host
