#include <voxreg.h>

#include <cstdio>
#include <vector>

// A volume as a host may hold it: its own voxels, and a header's matrix for column vectors.
struct Scan {
  std::vector<short> voxels;
  double toWorld[4][4];

  voxreg::Image image() const {
    NmMat4d matrix;
    matrix = toWorld;
    return voxreg::Image::wrap(voxels.data(), {24, 32, 16}, matrix.transpose());  // row vectors
  }
};

int main() {
  // x points to the left and y to the back, as in many headers; any other axes work as well.
  const Scan scan = {std::vector<short>(24 * 32 * 16, 7),
                     {{-2, 0, 0, 24}, {0, -2, 0, 32}, {0, 0, 4, -32}, {0, 0, 0, 1}}};
  const voxreg::Image image = scan.image();
  if (!image) return 1;  // a matrix without an inverse, for example
  const voxreg::Image finer =
      voxreg::Image::allocate(NmPrimType::Short, {46, 62, 31},
                              NmMat4d(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 2, 0, -22, -30, -32, 1));
  const voxreg::Image result = voxreg::resample(image, voxreg::Transform(), finer);
  std::printf("a voxel holds %d\n", result.voxelsAs<short>()[0]);
  return result.voxelsAs<short>()[0] == 7 && image.voxels() == scan.voxels.data() ? 0 : 1;
}
