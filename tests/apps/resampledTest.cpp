#include "files/resampled.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "phantoms/Phantom.h"
#include "saved.h"
#include "terminal/HostError.h"
#include "testFiles.h"
#include "voxelsOf.h"

namespace {

using host::NiftiVolume;

/// The content of `axisAligned`, in a file whose axes are turned against it: i runs against the
/// world's z, j along x, k along y.
NiftiVolume turnedCopy(const TestFolder& folder, const NiftiVolume& axisAligned) {
  const NmVec3l dims = axisAligned.image.dims();
  const NmBox3f& box = axisAligned.image.frame().box;
  const NmVec3f spacing = axisAligned.image.volume()->voxelSpacing();
  nifti_1_header header = makeHeader(static_cast<int>(dims.z), static_cast<int>(dims.x),
                                     static_cast<int>(dims.y), DT_UINT16, 16);
  const float rows[3][4] = {
      {0, spacing.x, 0, box.xmin}, {0, 0, spacing.y, box.ymin}, {-spacing.z, 0, 0, box.zmax}};
  std::memcpy(header.srow_x, rows[0], sizeof rows[0]);
  std::memcpy(header.srow_y, rows[1], sizeof rows[1]);
  std::memcpy(header.srow_z, rows[2], sizeof rows[2]);
  const std::vector<float> values = voxelsOf(*axisAligned.image.volume());
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
  const std::vector<float> expected = voxelsOf(*volume.image.volume());
  EXPECT_EQ(voxelsOf(*host::resampled(volume, volume, {}).image.volume()), expected);
  const NiftiVolume turned = turnedCopy(folder, volume);
  EXPECT_EQ(voxelsOf(*host::resampled(volume, turned, {}).image.volume()), expected);
}

/// A line of voxels along x, 1 mm apart.
template <class T>
NiftiVolume lineOf(const std::vector<T>& values, NmPrimType::Value type) {
  const auto n = static_cast<long>(values.size());
  NiftiVolume volume =
      host::newVolume(NmVec3l(n, 2, 2), NmBox3f(0, static_cast<float>(n - 1), 0, 1, 0, 1), type);
  const NmHandle<VlDataAccess> access = volume.image.volume()->lock(true);
  for (long line = 0; line < 4; ++line)
    std::copy(values.begin(), values.end(), static_cast<T*>(access->dataPtr(0)) + n * line);
  return volume;
}

/// The resampled line after moving the model along x.
template <class T>
std::vector<T> movedLine(const NiftiVolume& volume, double shift,
                         const voxreg::ResampleOptions& sampling) {
  NmMat4d matrix;
  matrix.setTranslate(NmVec3d(shift, 0, 0));
  const NiftiVolume result =
      host::resampled(volume, volume, voxreg::Transform::fromModelToReference(matrix), sampling);
  EXPECT_EQ(result.image.volume()->primType(), volume.image.volume()->primType());
  const NmHandle<VlDataAccess> access = result.image.volume()->lock(false);
  const T* const first = static_cast<const T*>(access->dataPtr(0));
  return {first, first + volume.image.dims().x};
}

using voxreg::Interpolation;

TEST(Resampled, valuesPassExactlyWhereNothingIsInterpolated) {
  const std::vector<int> large = {2147483647, -2147483647 - 1, 16777217, -16777219, 0, 1, 7};
  const std::vector<double> fine = {0.1, -1e300, 1.0 / 3.0, 16777217.25, 5e-324, 0.0, 2.0};
  for (const auto how : {Interpolation::nearest, Interpolation::linear, Interpolation::cubic,
                         Interpolation::lanczos})
    for (const double shift : {0.0, 0.0005}) {  // up to rounding
      EXPECT_EQ(movedLine<int>(lineOf(large, NmPrimType::Int), shift, {how, {}}), large);
      EXPECT_EQ(movedLine<double>(lineOf(fine, NmPrimType::Double), shift, {how, {}}), fine);
    }
  const std::vector<int> moved = {0, 2147483647, -2147483647 - 1, 16777217, -16777219, 0, 1};
  EXPECT_EQ(movedLine<int>(lineOf(large, NmPrimType::Int), 0.7, {Interpolation::nearest, {}}),
            moved);
}

template <class T>
void expectLabelsUnchanged(short type, const std::vector<T>& labels) {
  const TestFolder folder;
  const auto n = static_cast<int>(labels.size());
  nifti_1_header header = makeHeader(n, 1, 1, type, static_cast<short>(8 * sizeof(T)));
  writeFile(folder.file("l.nii"), bytesOf(header, labels));
  const NiftiVolume volume = host::readNifti(folder.file("l.nii"));
  saved(host::writeNifti, folder.file("o.nii"),
        host::resampled(volume, volume, {}, {voxreg::Interpolation::nearest, {}}));
  const std::string bytes = contentOf(folder.file("o.nii"));
  ASSERT_EQ(bytes.size(), 352 + labels.size() * sizeof(T));
  EXPECT_EQ(std::memcmp(bytes.data() + 352, labels.data(), labels.size() * sizeof(T)), 0);
  EXPECT_EQ(std::memcmp(bytes.data() + 70, &type, sizeof type), 0);
}

TEST(Resampled, labelsOfEveryIntegerTypeKeepTheirValuesAndTheirType) {
  expectLabelsUnchanged<std::uint8_t>(DT_UINT8, {0, 255, 7});
  expectLabelsUnchanged<std::int8_t>(DT_INT8, {-128, 127, 7});
  expectLabelsUnchanged<std::int16_t>(DT_INT16, {-32768, 32767, 7});
  expectLabelsUnchanged<std::uint16_t>(DT_UINT16, {0, 65535, 7});
  expectLabelsUnchanged<std::int32_t>(DT_INT32, {-2147483647 - 1, 2147483647, 16777217});
  expectLabelsUnchanged<std::uint32_t>(DT_UINT32, {0, 4294967295u, 16777217});
  expectLabelsUnchanged<std::int64_t>(DT_INT64, {-(1L << 53), 1L << 53, 7});
  expectLabelsUnchanged<std::uint64_t>(DT_UINT64, {0, 1UL << 63, 7});
  EXPECT_THROW(expectLabelsUnchanged<std::int64_t>(DT_INT64, {0, (1L << 53) + 1}), host::HostError);
}

TEST(Resampled, integersAreRoundedAndSaturate) {
  const std::vector<unsigned char> edge = {0, 0, 0, 255, 255, 255};
  const NiftiVolume volume = lineOf(edge, NmPrimType::UnsignedChar);
  using Line = std::vector<unsigned char>;
  EXPECT_EQ(movedLine<unsigned char>(volume, 0.2, {Interpolation::linear, 9.0}),
            (Line{9, 0, 0, 204, 255, 255}));
  // The cubic goes below 0 before the edge and above 255 after it.
  EXPECT_EQ(movedLine<unsigned char>(volume, 0.5, {Interpolation::cubic, 9.0}),
            (Line{9, 0, 0, 128, 255, 255}));
}

TEST(Resampled, theBackgroundIsWhatSuitsThePurposeUnlessItIsAskedFor) {
  const NiftiVolume volume = lineOf(std::vector<short>{-1000, 40, 50, 60}, NmPrimType::Short);
  const auto firstOf = [&](const voxreg::ResampleOptions& sampling) {
    return movedLine<short>(volume, 1.0, sampling).front();
  };
  EXPECT_EQ(firstOf({Interpolation::linear, {}}), -1000);
  EXPECT_EQ(firstOf({Interpolation::nearest, {}}), 0);
  EXPECT_EQ(firstOf({Interpolation::lanczos, 5.0}), 5);
  for (const double wrong : {0.5, 40000.0, static_cast<double>(NAN)})
    EXPECT_THROW((void)firstOf({Interpolation::linear, wrong}), host::HostError) << wrong;
  const std::vector<float> withGap = {NAN, 3.0f, -2.0f, INFINITY};
  EXPECT_EQ(movedLine<float>(lineOf(withGap, NmPrimType::Float), 1.0, {}).front(), -2.0f);
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
    const std::vector<float> there =
        voxelsOf(*host::resampled(reference, model, voxreg::Transform::fromModelToReference(matrix))
                      .image.volume());
    const std::vector<float> here = voxelsOf(*reference.image.volume());
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
  const NmMat4d frames = voxreg::worldToFrames(world, reference.image, model.image);
  NmVec3d inFrame(1, 2, 3), inWorld, sent, expected;
  model.image.frame().toWorld.multVecMatrix(inFrame, inWorld);
  world.multVecMatrix(inWorld, expected);
  frames.multVecMatrix(inFrame, sent);
  reference.image.frame().toWorld.multVecMatrix(sent, sent);
  for (int a = 0; a < 3; ++a) EXPECT_NEAR(sent[a], expected[a], 1e-9);

  const NmMat4d back = voxreg::framesToWorld(frames, reference.image, model.image);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) EXPECT_NEAR(back.m[i][j], world.m[i][j], 1e-12);
}

}  // namespace
