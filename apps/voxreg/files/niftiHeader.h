#pragma once

#include <nifti2_io.h>
#include <voxreg.h>

#include <memory>

#include "files/ZipReader.h"
#include "files/voxelFormat.h"

namespace host {

/// What a NIfTI file is expected to hold: one volume of one real number per voxel, or one
/// displacement per voxel.
enum class NiftiContent { volume, field };

/// The part of a NIfTI file that precedes the voxels.
struct NiftiHeader {
  std::string path;
  std::shared_ptr<nifti_image> image;  ///< without voxels; of a volume, at most three dimensions
  std::uint64_t offset;                ///< of the voxels, from what has been read of their file
  bool isSwapped;                      ///< voxels are in the opposite byte order
  bool isPair;                         ///< voxels are in another file
};

/// Reads a header of either version and byte order. Throws HostError if it is invalid, or if it
/// declares another content.
NiftiHeader readNiftiHeader(ZipReader& file, NiftiContent content = NiftiContent::volume);

/// Where a header places its voxels, in millimetres.
voxreg::WorldGrid gridOf(const nifti_image& header);

/// The header's scaling of stored values.
ValueScale scaleOf(const nifti_image& header);

/// Throws HostError if the file of the voxels cannot hold all that its header declares.
void requirePlausibleSize(const ZipReader& file, const NiftiHeader& header);

/// Takes ownership of an image that the NIfTI library has created. Throws HostError for null.
std::shared_ptr<nifti_image> owned(nifti_image* image);

}  // namespace host
