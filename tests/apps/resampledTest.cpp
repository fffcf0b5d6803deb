#include "resampled.h"

#include <cmath>

#include "Phantom.h"
#include "testFiles.h"
#include "voxelsOf.h"

namespace {

using host::NiftiVolume;

/// The content of `axisAligned`, in a file whose axes are turned against it: i runs against the
/// world's z, j along x, k along y.
NiftiVolume turnedCopy(const TestFolder& folder, const NiftiVolume& axisAligned) {
  const NmVec3l dims = axisAligned.frame.dims;
  const NmBox3f& box = axisAligned.frame.box;
  const NmVec3f spacing = axisAligned.data->voxelSpacing();
  nifti_1_header header = makeHeader(static_cast<int>(dims.z), static_cast<int>(dims.x),
                                     static_cast<int>(dims.y), DT_UINT16, 16);
  const float rows[3][4] = {
      {0, spacing.x, 0, box.xmin}, {0, 0, spacing.y, box.ymin}, {-spacing.z, 0, 0, box.zmax}};
  std::memcpy(header.srow_x, rows[0], sizeof rows[0]);
  std::memcpy(header.srow_y, rows[1], sizeof rows[1]);
  std::memcpy(header.srow_z, rows[2], sizeof rows[2]);
  const std::vector<float> values = voxelsOf(*axisAligned.data);
  std::vector<unsigned short> voxels;
  for (long y = 0; y < dims.y; ++y)
    for (long x = 0; x < dims.x; ++x)
      for (long z = dims.z - 1; z >= 0; --z)
        voxels.push_back(static_cast<unsigned short>(
            values[static_cast<std::size_t>(x + dims.x * (y + dims.y * z))]));
  writeFile(folder.file("turned.nii"), bytesOf(header, voxels));
  return host::readNifti(folder.file("turned.nii"));
}

TEST(Resampled, theIdentityGivesTheSameVoxelsHoweverTheFileIsTurned) {
  const TestFolder folder;
  const NiftiVolume volume = host::acquire(host::Phantom(1), 24, {});
  const std::vector<float> expected = voxelsOf(*volume.data);
  EXPECT_EQ(voxelsOf(*host::resampled(volume, volume, NmMat4d()).data), expected);
  const NiftiVolume turned = turnedCopy(folder, volume);
  EXPECT_EQ(voxelsOf(*host::resampled(volume, turned, NmMat4d()).data), expected);
}

TEST(Resampled, aModelMovedByAMatrixComesBackUnderIt) {
  const double c = std::cos(0.2), s = std::sin(0.2);
  const NmMat4d toReference(c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, 12, -8, 4, 1);
  const host::Phantom phantom(1);
  const NiftiVolume reference = host::acquire(phantom, 48, {});
  host::Acquisition moved;
  moved.modelToReference = toReference;
  const NiftiVolume model = host::acquire(phantom, 48, moved);
  const auto meanDifference = [&](const NmMat4d& matrix) {
    const std::vector<float> there = voxelsOf(*host::resampled(reference, model, matrix).data);
    const std::vector<float> here = voxelsOf(*reference.data);
    double sum = 0.0;
    for (std::size_t i = 0; i < here.size(); ++i)
      sum += std::abs(static_cast<double>(here[i]) - static_cast<double>(there[i]));
    return sum / static_cast<double>(here.size());
  };
  EXPECT_LT(meanDifference(toReference), 0.3 * meanDifference(NmMat4d()));
  EXPECT_GT(meanDifference(toReference.inverse()), meanDifference(NmMat4d()));
}

TEST(Resampled, framesAndWorldsTakeTheSamePointToTheSamePlace) {
  const TestFolder folder;
  const NiftiVolume reference = host::acquire(host::Phantom(1), 8, {});
  nifti_1_header header = makeHeader(4, 4, 4, DT_UINT8, 8);
  const float rows[3][4] = {{0.1f, 1.9f, 0.3f, 5}, {-2, 0.1f, 0.2f, 6}, {0.2f, 0.3f, -2, 7}};
  std::memcpy(header.srow_x, rows[0], sizeof rows[0]);
  std::memcpy(header.srow_y, rows[1], sizeof rows[1]);
  std::memcpy(header.srow_z, rows[2], sizeof rows[2]);
  writeFile(folder.file("o.nii"), bytesOf(header, std::vector<unsigned char>(64)));
  const NiftiVolume model = host::readNifti(folder.file("o.nii"));

  const NmMat4d world(0.9, 0.1, 0, 0, -0.2, 1.1, 0.3, 0, 0, 0, 1, 0, 3, 4, 5, 1);
  const NmMat4d frames = host::worldToFrames(world, reference, model);
  NmVec3d inFrame(1, 2, 3), inWorld, sent, expected;
  model.frame.toWorld.multVecMatrix(inFrame, inWorld);
  world.multVecMatrix(inWorld, expected);
  frames.multVecMatrix(inFrame, sent);
  reference.frame.toWorld.multVecMatrix(sent, sent);
  for (int a = 0; a < 3; ++a) EXPECT_NEAR(sent[a], expected[a], 1e-9);

  const NmMat4d back = host::framesToWorld(frames, reference, model);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) EXPECT_NEAR(back.m[i][j], world.m[i][j], 1e-12);
}

}  // namespace
