#include "files/niftiVolume.h"

#include <cmath>
#include <cstdint>

#include "complaintOf.h"
#include "files/resampled.h"
#include "saved.h"
#include "worldRamp.h"

namespace {

using host::NiftiVolume;

TEST(NiftiVolume, everyOrientationReadsRightAndWritesBackTheSameVoxels) {
  const TestFolder folder;
  int orientations = 0;
  worldRamp::forEachOrientation([&](const nifti_1_header& header, double angle) {
    ++orientations;
    const std::string bytes = worldRamp::bytes(header);
    writeFile(folder.file("in.nii"), bytes);
    const NiftiVolume volume = host::readNifti(folder.file("in.nii"));
    EXPECT_LT(worldRamp::worstError(volume), 1e-4);
    const NmMat4d& toWorld = volume.image.frame().toWorld;
    EXPECT_GT(toWorld.det3(), 0.0);
    for (int a = 0; a < 3 && angle == 0.0; ++a) EXPECT_EQ(toWorld.m[a][a], 1.0);
    saved(host::writeNifti, folder.file("out.nii"), volume);
    const std::string written = contentOf(folder.file("out.nii"));
    ASSERT_EQ(written.size(), bytes.size());
    EXPECT_EQ(written.substr(352), bytes.substr(352));
    EXPECT_LT(worldRamp::worstError(host::readNifti(folder.file("out.nii"))), 1e-4);
  });
  EXPECT_EQ(orientations, 96);
}
TEST(NiftiVolume, quaternionAndBareVoxelSizesPlaceTheVolumeWhereThereIsNoSform) {
  const TestFolder folder;
  nifti_1_header header = makeHeader(2, 2, 2, DT_UINT8, 8);
  header.sform_code = 0;
  header.qform_code = 1;
  header.quatern_d = 1.0f;  // half a turn about z
  header.qoffset_x = 7.0f;
  header.pixdim[0] = 1.0f;
  header.pixdim[1] = 2.0f;
  writeFile(folder.file("q.nii"),
            bytesOf(header, std::vector<unsigned char>{1, 2, 3, 4, 5, 6, 7, 8}));
  const NiftiVolume turned = host::readNifti(folder.file("q.nii"));
  EXPECT_NEAR(turned.image.frame().box.xmin, 5.0, 1e-5);
  EXPECT_NEAR(turned.image.frame().box.xmax, 7.0, 1e-5);
  EXPECT_EQ(valuesOf(*turned.image.volume()), (std::vector<float>{4, 3, 2, 1, 8, 7, 6, 5}));

  header.qform_code = 0;
  writeFile(folder.file("p.nii"), bytesOf(header, std::vector<unsigned char>(8, 1)));
  EXPECT_EQ(host::readNifti(folder.file("p.nii")).image.frame().box, NmBox3f(0, 2, 0, 1, 0, 1));
}

TEST(NiftiVolume, aFlatImageNeedsNoThirdAxis) {
  const TestFolder folder;
  nifti_1_header header = makeHeader(3, 2, 1, DT_INT16, 16);
  header.dim[0] = 2;
  header.dim[3] = 0;
  header.srow_z[2] = 0.0f;
  writeFile(folder.file("flat.nii"), bytesOf(header, std::vector<short>{1, 2, 3, 4, 5, 6}));
  const NiftiVolume flat = host::readNifti(folder.file("flat.nii"));
  EXPECT_EQ(flat.image.dims(), NmVec3l(3, 2, 1));
  EXPECT_EQ(flat.image.frame().box, NmBox3f(0, 2, 0, 1, 0, 0));

  header.dim[3] = 2;
  header.dim[0] = 3;
  writeFile(folder.file("bad.nii"), bytesOf(header, std::vector<short>(12, 1)));
  EXPECT_NE(complaintOf(folder.file("bad.nii")).find("no usable geometry"), std::string::npos);
}

/// Reads voxels of a file type, as they are and rescaled, and writes them back; `value` is the
/// first of two.
template <class Stored>
void expectType(short code, NmPrimType::Value plain, NmPrimType::Value scaled, Stored value) {
  SCOPED_TRACE(code);
  const TestFolder folder;
  nifti_1_header header = makeHeader(2, 1, 1, code, static_cast<short>(8 * sizeof(Stored)));
  const std::vector<Stored> voxels = {value, 1};
  const double stored = static_cast<double>(value);
  writeCompressed(folder.file("v.nii.gz"), bytesOf(header, voxels));
  const NiftiVolume volume = host::readNifti(folder.file("v.nii.gz"));
  EXPECT_EQ(volume.image.volume()->primType(), plain);
  EXPECT_EQ(valuesOf(*volume.image.volume())[0], static_cast<float>(stored));
  saved(host::writeNifti, folder.file("o.nii"),
        host::resampled(volume, volume, {}, {voxreg::Interpolation::nearest, {}}));
  const std::string written = contentOf(folder.file("o.nii"));
  EXPECT_EQ(written.substr(352), bytesOf(header, voxels).substr(352));
  EXPECT_EQ(std::memcmp(written.data() + 70, &code, sizeof code), 0);
  header.scl_slope = 0.5f;
  header.scl_inter = -3.0f;
  writeFile(folder.file("s.nii"), bytesOf(header, voxels));
  const NiftiVolume rescaled = host::readNifti(folder.file("s.nii"));
  EXPECT_EQ(rescaled.image.volume()->primType(), scaled);
  EXPECT_EQ(valuesOf(*rescaled.image.volume())[0], static_cast<float>(0.5 * stored - 3.0));
}

TEST(NiftiVolume, everyRealDataTypeKeepsItsValuesAndIsScaledAsTheHeaderSays) {
  using enum NmPrimType::Value;
  expectType<std::uint8_t>(DT_UINT8, UnsignedChar, Float, 255);
  expectType<std::int8_t>(DT_INT8, Short, Float, -128);
  expectType<std::int8_t>(DT_INT8, Short, Float, 127);
  expectType<std::int16_t>(DT_INT16, Short, Float, -32768);
  expectType<std::uint16_t>(DT_UINT16, UnsignedShort, Float, 65535);
  expectType<std::int32_t>(DT_INT32, Int, Double, -2147483647);
  expectType<std::uint32_t>(DT_UINT32, Double, Double, 4294967295u);
  expectType<std::int64_t>(DT_INT64, Double, Double, -(1L << 53));
  expectType<std::uint64_t>(DT_UINT64, Double, Double, 1UL << 63);
  expectType<float>(DT_FLOAT32, Float, Float, -1.25f);
  expectType<double>(DT_FLOAT64, Double, Double, 1.0e20);
  // Labels that double precision does not hold are refused.
  EXPECT_THROW(expectType<std::int64_t>(DT_INT64, Double, Double, (1L << 53) + 1), host::HostError);
}

}  // namespace
