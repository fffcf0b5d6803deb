#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "files/niftiVolume.h"

namespace host {

/// A slice of a volume as a raster of square pixels: the first pixel's place in the volume's frame
/// and the steps to its neighbours. Rows run from the top of the axis downwards.
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

/// The slices of a volume through a place across z, y and x, those that are more than a line. The
/// volume's longest side is `longestSide` pixels long. Columns run to the patient's right, or to
/// the front, rows to the back or to the feet.
std::vector<Slice> slicesThrough(const NmVec3f& place, const NiftiVolume& volume, int longestSide);

/// The directions of the patient in which an axis of the volume's frame begins and ends: L and R, P
/// and A, or I and S. Empty where the file does not tell how the patient lay.
std::string sidesOf(const NiftiVolume& volume, int axis);

NmVec3f middleOf(const NmBox3f& box);

}  // namespace host
