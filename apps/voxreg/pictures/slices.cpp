#include "pictures/slices.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace host {

namespace {

Slice sliceThrough(const NmVec3f& place, const NiftiVolume& volume, int normal, float pixel) {
  const NmBox3f& box = volume.image.frame().box;
  const int across = normal == 0 ? 1 : 0;
  const int up = normal == 2 ? 1 : 2;
  const auto pixels = [&](int axis) { return static_cast<int>(box.extent(axis) / pixel) + 1; };
  Slice slice = {pixels(across), pixels(up), {}, {}, {}, sidesOf(volume, across)};
  slice.corner[normal] = place[normal];
  slice.corner[across] = box.min(across);
  slice.corner[up] = box.max(up);
  slice.right[across] = pixel;
  slice.down[up] = -pixel;
  return slice;
}

}  // namespace

std::vector<Slice> slicesThrough(const NmVec3f& place, const NiftiVolume& volume, int longestSide) {
  const voxreg::ImageFrame& frame = volume.image.frame();
  float longest = 0.0f;
  int flat = 3;
  for (int a = 0; a < 3; ++a) {
    longest = std::max(longest, frame.box.extent(a));
    if (frame.dims[a] == 1) flat = a;
  }
  const float pixel = longest / static_cast<float>(longestSide);
  std::vector<Slice> slices;
  for (const int normal : {2, 1, 0})
    if (flat == 3 || flat == normal) slices.push_back(sliceThrough(place, volume, normal, pixel));
  return slices;
}

// The world's axes run to the patient's right, to the front and to the head.
std::string sidesOf(const NiftiVolume& volume, int axis) {
  constexpr const char* sides[] = {"LR", "PA", "IS"};
  if (volume.header->sform_code <= 0 && volume.header->qform_code <= 0) return "";
  const double* const direction = volume.image.frame().toWorld.m[axis];
  const auto isShorter = [](double a, double b) { return std::abs(a) < std::abs(b); };
  const double* const main = std::max_element(direction, direction + 3, isShorter);
  std::string found = sides[main - direction];
  if (*main < 0.0) std::swap(found[0], found[1]);
  return found;
}

NmVec3f middleOf(const NmBox3f& box) {
  return {0.5f * (box.xmin + box.xmax), 0.5f * (box.ymin + box.ymax), 0.5f * (box.zmin + box.zmax)};
}

}  // namespace host
