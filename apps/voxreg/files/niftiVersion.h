#pragma once

#include <nifti2_io.h>

namespace host {

/// What is specific to a NIfTI version, by the type of its header. For version 2, the NIfTI library
/// leaves the image's type, the offset of the voxels and the end of the magic text to the caller.
template <class Raw>
struct NiftiVersion;

template <>
struct NiftiVersion<nifti_1_header> {
  static constexpr int number = 1;
  static constexpr int type = NIFTI_FTYPE_NIFTI1_1;
  static constexpr char single[] = "n+1";
  static constexpr char pair[] = "ni1";
  static constexpr auto toImage = nifti_convert_n1hdr2nim;
  static constexpr auto fromImage = nifti_convert_nim2n1hdr;
};

template <>
struct NiftiVersion<nifti_2_header> {
  static constexpr int number = 2;
  static constexpr int type = NIFTI_FTYPE_NIFTI2_1;
  static constexpr char single[] = "n+2\0\r\n\032\n";
  static constexpr char pair[] = "ni2\0\r\n\032\n";
  static constexpr auto toImage = nifti_convert_n2hdr2nim;
  static constexpr auto fromImage = nifti_convert_nim2n2hdr;
};

}  // namespace host
