#include <voxreg.h>
#include <cmath>
#include <cstdio>
std::vector<float> ball(double x) {  // in 40 x 40 x 40 voxels
  std::vector<float> voxels;
  voxels.reserve(64000);
  for (int i = 0; i < 64000; ++i)
    voxels.push_back(std::hypot(i % 40 - x, i / 40 % 40 - 20, i / 1600 - 20) < 9 ? 100.0f : 0.0f);
  return voxels;
}
int main() {
  const std::vector<float> fixed = ball(20), moved = ball(23);
  const NmMat4d toWorld(2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, -40, -40, -40, 1);  // row vectors, mm
  const auto reference = voxreg::Image::wrap(fixed.data(), {40, 40, 40}, toWorld);  // no copy
  const auto model = voxreg::Image::wrap(moved.data(), {40, 40, 40}, toWorld);
  const auto found = voxreg::registerAffine(reference, model, {.degreesOfFreedom = 3});
  const NmVec3d there = found.transform({0, 0, 0});
  std::printf("%s found at %.2f %.2f %.2f mm\n", found ? "" : "not", there.x, there.y, there.z);
  return found && voxreg::resample(model, found.transform, reference) ? 0 : 1;
}
