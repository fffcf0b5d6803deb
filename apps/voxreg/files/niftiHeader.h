#pragma once

#include <nifti2_io.h>

#include <memory>

#include "files/ZipReader.h"

namespace host {

/// What stands in front of the voxels of a NIfTI file.
struct NiftiHeader {
  std::string path;
  std::shared_ptr<nifti_image> image;  ///< of three dimensions at most, without voxels
  std::uint64_t offset;                ///< of the voxels, from what was read of their file
  bool isSwapped;                      ///< voxels are in the other byte order
  bool isPair;                         ///< voxels stand in another file
};

/// Reads a header of either version and byte order. Throws HostError where it is no good, and where
/// it announces other than one volume of one real number per voxel.
NiftiHeader readNiftiHeader(ZipReader& file);

/// Takes care of an image that the NIfTI library has made. Throws HostError for null.
std::shared_ptr<nifti_image> owned(nifti_image* image);

}  // namespace host
