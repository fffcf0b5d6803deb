#include <voxreg.h>

#include <cmath>
#include <cstdio>
#include <vector>

// A ball of 10 mm radius in 40 x 40 x 40 voxels of 1 mm; the volume wraps the voxels without a
// copy.
NmHandle<VlData> ball(std::vector<float>& voxels, double x, double y, double z) {
  for (int i = 0; i < 64000; ++i) {
    const int place[] = {i % 40, i / 40 % 40, i / 1600};
    const double radius = std::hypot(place[0] - x, place[1] - y, place[2] - z);
    voxels.push_back(static_cast<float>(100.0 / (1.0 + std::exp(radius - 10.0))));
  }
  NmHandle<VlMemoryData> volume(new VlMemoryData(nullptr));
  volume->initShared(NmVec3l(40, 40, 40), NmPrimType::Float, 1, voxels.data());
  return volume;  // its bounding box runs from 0 to 39 mm on each axis
}

int main() {
  std::vector<float> fixed, moved;
  NmHandle<VlData> volumes[] = {ball(fixed, 20, 20, 20), ball(moved, 23, 18, 21.5)};
  NmDArray<NmHandle<VlData>> reference, model;
  reference.insert(0, 1, &volumes[0]);
  model.insert(0, 1, &volumes[1]);
  NmVec4i affineStages(1, 0, 0, 0);  // one stage: 3 degrees of freedom, a translation
  NmVec3i nonAffineStages;
  RegVoxelRegistration registration(nullptr, false, reference, model, 3, 0, 100, 0, 100, 1,
                                    2 /* mean squared difference */, 64, 64, NmVec3i(1, 1, 1), 1,
                                    false, affineStages, nonAffineStages, false, NmVec2f(4, 0.01f),
                                    0, 1e-5f, 2 /* quasi-Newton search */, false, false);
  const bool done = registration.compute(2);
  const float* t = registration.matrix.m[3];  // row vectors, model world to reference world
  std::printf("model to reference: %.2f %.2f %.2f mm\n", t[0], t[1], t[2]);
  return done && std::hypot(t[0] + 3.0, t[1] - 2.0, t[2] + 1.5) < 0.1 ? 0 : 1;
}
