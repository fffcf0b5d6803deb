#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "files/niftiVolume.h"

namespace host {

/// A slice of a volume as a raster of square pixels: the first pixel's position in the volume's
/// frame and the steps to its neighbours. Rows run from the top of the axis downwards.
struct Slice {
  int width;
  int height;
  NmVec3f corner;
  NmVec3f right;
  NmVec3f down;
  std::string sides;  ///< letters for the first and the last column (see sidesOf); may be empty

  /// Side of a pixel, millimetres.
  float pixel() const { return std::max({right[0], right[1], right[2]}); }

  NmVec3f place(int x, int y) const {
    NmVec3f point;
    for (int a = 0; a < 3; ++a)
      point[a] = corner[a] + static_cast<float>(x) * right[a] + static_cast<float>(y) * down[a];
    return point;
  }
};

/// The slices of a volume through a point across z, y and x, except those only one voxel wide. The
/// volume's longest side is `longestSide` pixels long. Columns run to the patient's right or front,
/// rows to the back or feet.
std::vector<Slice> slicesThrough(const NmVec3f& place, const NiftiVolume& volume, int longestSide);

/// The patient's directions at the start and the end of an axis of the volume's frame: L and R, P
/// and A, or I and S. Empty if the file does not give the patient's orientation.
std::string sidesOf(const NiftiVolume& volume, int axis);

NmVec3f middleOf(const NmBox3f& box);

}  // namespace host
