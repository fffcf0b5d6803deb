#include <voxreg.h>

#include <cmath>
#include <cstdio>
#include <vector>

// A blurred ball of 10 mm radius in a volume of 40 x 40 x 40 mm.
std::vector<float> ball(double x0, double y0, double z0) {
  std::vector<float> voxels;
  for (int z = 0; z < 40; ++z)
    for (int y = 0; y < 40; ++y)
      for (int x = 0; x < 40; ++x)
        voxels.push_back(static_cast<float>(
            100.0 / (1.0 + std::exp(std::hypot(x - x0, y - y0, z - z0) - 10.0))));
  return voxels;
}

// Wraps the voxels without a copy; the bounding box puts their centres 1 mm apart.
NmDArray<NmHandle<VlData>> volumeOf(std::vector<float>& voxels) {
  NmHandle<VlMemoryData> volume(new VlMemoryData(nullptr));
  volume->initShared(NmVec3l(40, 40, 40), NmPrimType::Float, 1, voxels.data());
  volume->setBoundingBox(NmBox3f(0, 39, 0, 39, 0, 39));
  NmHandle<VlData> handle = volume;
  NmDArray<NmHandle<VlData>> list;
  list.insert(0, 1, &handle);
  return list;
}

int main() {
  std::vector<float> fixed = ball(20, 20, 20), moved = ball(23, 18, 21.5);
  NmDArray<NmHandle<VlData>> reference = volumeOf(fixed), model = volumeOf(moved);
  NmVec4i affineStages(1, 0, 0, 0);  // 3 degrees of freedom: a translation
  NmVec3i nonAffineStages;
  RegVoxelRegistration registration(
      nullptr, false, reference, model, 3, 0, 100, 0, 100, 1, 2 /* mean squared difference */, 64,
      64, NmVec3i(1, 1, 1), 1, false, affineStages, nonAffineStages, false, NmVec2f(4, 0.01f), 0,
      0.0f, 1 /* best-neighbour search */, false, false);
  if (!registration.compute(2)) return 1;
  const float* t = registration.matrix.m[3];  // row vectors: model world to reference world
  std::printf("model to reference: %.2f %.2f %.2f mm\n", t[0], t[1], t[2]);
  return std::hypot(t[0] + 3.0, t[1] - 2.0, t[2] + 1.5) < 0.1 ? 0 : 1;
}
