#pragma once

#include <nifti2_io.h>
#include <voxreg.h>

#include <memory>
#include <string>

#include "files/OutputFiles.h"

namespace host {

/// A volume that came from a NIfTI file or can become one.
struct NiftiVolume {
  voxreg::Image image;                  ///< with the axes nearest to the world's
  voxreg::WorldGrid grid;               ///< of the file
  voxreg::VoxelOrder order;             ///< of the image's axes among the file's
  std::shared_ptr<nifti_image> header;  ///< without voxels
  int fileType = 0;  ///< NIfTI data type that a file of it gets; 0: what the voxels are
};

/// Reads a volume of one real number per voxel, NIfTI-1 or NIfTI-2: .nii or a .hdr and its .img by
/// either name, compressed or not. Throws HostError with one clear line for anything else.
NiftiVolume readNifti(const std::string& path);

/// A new zeroed volume in the place that the header of a file of this name tells. Throws HostError
/// where it tells none, and NmMemoryException.
NiftiVolume newVolume(std::shared_ptr<nifti_image> header, NmPrimType type,
                      const std::string& name = "the new volume");

/// A new zeroed volume of a voxel type on the grid of another.
NiftiVolume volumeLike(const NiftiVolume& grid, NmPrimType type);

/// A new zeroed volume around the same centre, of ceil(newDims) voxels along the axes of the frame.
/// A voxel grows by the ratio of the dimensions to newDims. Throws NmMemoryException.
NiftiVolume scaledVolume(const NiftiVolume& original, const NmVec3f& newDims);

/// A new zeroed volume along the world's axes.
NiftiVolume newVolume(const NmVec3l& dims, const NmBox3f& box, NmPrimType type);

/// Writes .nii, or .nii.gz where the path ends in it, with the geometry of the volume's header and
/// as the version of NIfTI that it came from. A file of whole numbers takes the nearest ones and
/// saturates. Throws HostError.
void writeNifti(OutputFiles& outputs, const std::string& path, const NiftiVolume& volume);

/// Throws HostError unless `path` is a name for a NIfTI file that can be written.
void requireWritableNifti(const std::string& path);

}  // namespace host
