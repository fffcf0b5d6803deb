#include "slices.h"

#include <algorithm>

namespace host {

namespace {

Slice sliceThrough(const NmVec3f& place, const NmBox3f& box, int normal, float pixel) {
  const int across = normal == 0 ? 1 : 0;
  const int up = normal == 2 ? 1 : 2;
  const auto pixels = [&](int axis) { return static_cast<int>(box.extent(axis) / pixel) + 1; };
  Slice slice = {pixels(across), pixels(up), {}, {}, {}};
  slice.corner[normal] = place[normal];
  slice.corner[across] = box.min(across);
  slice.corner[up] = box.max(up);
  slice.right[across] = pixel;
  slice.down[up] = -pixel;
  return slice;
}

}  // namespace

std::vector<Slice> slicesThrough(const NmVec3f& place, const VolumeFrame& frame, int longestSide) {
  float longest = 0.0f;
  int flat = 3;
  for (int a = 0; a < 3; ++a) {
    longest = std::max(longest, frame.box.extent(a));
    if (frame.dims[a] == 1) flat = a;
  }
  const float pixel = longest / static_cast<float>(longestSide);
  std::vector<Slice> slices;
  for (const int normal : {2, 1, 0})
    if (flat == 3 || flat == normal)
      slices.push_back(sliceThrough(place, frame.box, normal, pixel));
  return slices;
}

NmVec3f middleOf(const NmBox3f& box) {
  return {0.5f * (box.xmin + box.xmax), 0.5f * (box.ymin + box.ymax), 0.5f * (box.zmin + box.zmax)};
}

}  // namespace host
