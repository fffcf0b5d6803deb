#include "files/zoomed.h"

#include <cmath>

#include "saved.h"
#include "terminal/HostError.h"
#include "terminal/InterruptibleProgress.h"
#include "testFiles.h"
#include "voxelsOf.h"

namespace {

/// The voxel (i, j, k) of a file with three oblique, flipped and permuted axes holds the world's
/// x + 2 y + 3 z of its centre.
host::NiftiVolume obliqueRamp(const TestFolder& folder) {
  nifti_1_header header = makeHeader(24, 20, 16, DT_FLOAT32, 32);
  const float rows[3][4] = {{0, -1.6f, 1.2f, 20}, {0, 1.2f, 1.6f, -5}, {-3, 0, 0, 40}};
  std::memcpy(header.srow_x, rows[0], sizeof rows[0]);
  std::memcpy(header.srow_y, rows[1], sizeof rows[1]);
  std::memcpy(header.srow_z, rows[2], sizeof rows[2]);
  std::vector<float> voxels;
  for (int k = 0; k < 16; ++k)
    for (int j = 0; j < 20; ++j)
      for (int i = 0; i < 24; ++i) {
        float value = 0.0f;
        for (int w = 0; w < 3; ++w)
          value += static_cast<float>(w + 1) *
                   (rows[w][0] * static_cast<float>(i) + rows[w][1] * static_cast<float>(j) +
                    rows[w][2] * static_cast<float>(k) + rows[w][3]);
        voxels.push_back(value);
      }
  writeFile(folder.file("ramp.nii"), bytesOf(header, voxels));
  return host::readNifti(folder.file("ramp.nii"));
}

/// Largest error of a ramp's voxels, `rim` of them on each side left out.
double worstOfRamp(const host::NiftiVolume& volume, long rim) {
  const std::vector<float> values = voxelsOf(*volume.image.volume());
  const NmVec3l dims = volume.image.dims();
  const NmVec3f spacing = volume.image.volume()->voxelSpacing();
  const NmBox3f& box = volume.image.frame().box;
  double worst = 0.0;
  for (long z = rim; z < dims.z - rim; ++z)
    for (long y = rim; y < dims.y - rim; ++y)
      for (long x = rim; x < dims.x - rim; ++x) {
        NmVec3d p(box.xmin + static_cast<double>(x) * spacing.x,
                  box.ymin + static_cast<double>(y) * spacing.y,
                  box.zmin + static_cast<double>(z) * spacing.z);
        volume.image.frame().toWorld.multVecMatrix(p, p);
        const float value = values[static_cast<std::size_t>(x + dims.x * (y + dims.y * z))];
        worst = std::max(worst, std::abs(p.x + 2 * p.y + 3 * p.z - value));
      }
  return worst;
}

TEST(Zoomed, keepsEveryVoxelAtItsPlaceInTheWorldInTheFileToo) {
  const TestFolder folder;
  const host::NiftiVolume ramp = obliqueRamp(folder);
  ASSERT_LT(worstOfRamp(ramp, 0), 1e-3);
  host::InterruptibleProgress progress;
  // The filter keeps a ramp but for the rim, and but for the phases of a fractional reduction.
  const struct {
    NmVec3f dims;
    long rim;
    double tolerance;
  } cases[] = {{NmVec3f(25, 32, 48), 6, 0.01},
               {NmVec3f(10, 8, 12), 2, 0.01},
               {NmVec3f(13.25f, 16, 18.5f), 4, 0.1}};
  for (const auto& [dims, rim, tolerance] : cases) {
    saved(host::writeNifti, folder.file("out.nii"),
          host::zoomed(ramp, dims, RegResampler::Mitchell, progress));
    const host::NiftiVolume read = host::readNifti(folder.file("out.nii"));
    for (int a = 0; a < 3; ++a) EXPECT_EQ(read.image.dims()[a], std::ceil(dims[a]));
    EXPECT_LT(worstOfRamp(read, rim), tolerance) << dims.x;
    EXPECT_EQ(read.order.gridAxis[2], ramp.order.gridAxis[2]);
  }
}

TEST(Zoomed, refusesWhatNoFileOrMemoryHolds) {
  const TestFolder folder;
  const host::NiftiVolume ramp = obliqueRamp(folder);
  host::InterruptibleProgress progress;
  for (const NmVec3f& dims : {NmVec3f(0, 1, 1), NmVec3f(1, 40000, 1), NmVec3f(1, NAN, 1)})
    EXPECT_THROW((void)host::zoomed(ramp, dims, RegResampler::Box, progress), host::HostError);
}

}  // namespace
