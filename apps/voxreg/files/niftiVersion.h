#pragma once

#include <nifti2_io.h>

namespace host {

/// What a version of NIfTI has of its own, by the type of its header. The library leaves the type
/// of the image, the place of the voxels and the end of the magic text to us in version 2.
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
