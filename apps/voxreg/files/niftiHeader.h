#pragma once

#include <nifti2_io.h>

#include <memory>

#include "files/ZipReader.h"

namespace host {

/// The part of a NIfTI file that precedes the voxels.
struct NiftiHeader {
  std::string path;
  std::shared_ptr<nifti_image> image;  ///< of at most three dimensions, without voxels
  std::uint64_t offset;                ///< of the voxels, from what has been read of their file
  bool isSwapped;                      ///< voxels are in the opposite byte order
  bool isPair;                         ///< voxels are in another file
};

/// Reads a header of either version and byte order. Throws HostError if it is invalid, or if it
/// declares anything but one volume of one real number per voxel.
NiftiHeader readNiftiHeader(ZipReader& file);

/// Takes ownership of an image that the NIfTI library has created. Throws HostError for null.
std::shared_ptr<nifti_image> owned(nifti_image* image);

}  // namespace host
