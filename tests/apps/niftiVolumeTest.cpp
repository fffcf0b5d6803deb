#include "files/niftiVolume.h"

#include <algorithm>
#include <cmath>

#include "complaintOf.h"
#include "saved.h"
#include "testFiles.h"
#include "voxelsOf.h"

namespace {

using host::NiftiVolume;

/// srow[w][a] for axes that run along the world's in the given order and directions, turned by
/// `angle` about an oblique axis, with voxels of 2, 3 and 4 mm.
void setAxes(nifti_1_header& header, const int* worldAxis, int flips, double angle) {
  NmMat4d turn;
  turn.setRotate(NmRotation());
  const double c = std::cos(angle), s = std::sin(angle);
  const NmMat4d aboutZ(c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
  const NmMat4d aboutX(1, 0, 0, 0, 0, c, s, 0, 0, -s, c, 0, 0, 0, 0, 1);
  turn.multRight(aboutZ);
  turn.multRight(aboutX);
  float* const rows[3] = {header.srow_x, header.srow_y, header.srow_z};
  for (int a = 0; a < 3; ++a) {
    NmVec3d axis;
    axis[worldAxis[a]] = (flips >> a & 1) != 0 ? -(2.0 + a) : 2.0 + a;
    turn.multDirMatrix(axis, axis);
    for (int w = 0; w < 3; ++w) rows[w][a] = static_cast<float>(axis[w]);
  }
  for (int w = 0; w < 3; ++w) rows[w][3] = static_cast<float>(10 * (w + 1));
}

/// A value that identifies a voxel's position in the world.
double valueAt(double x, double y, double z) {
  return x + 0.01 * y - 0.7 * z;
}

std::vector<float> voxelsFor(const nifti_1_header& h) {
  std::vector<float> voxels;
  const float* const rows[3] = {h.srow_x, h.srow_y, h.srow_z};
  for (int k = 0; k < h.dim[3]; ++k)
    for (int j = 0; j < h.dim[2]; ++j)
      for (int i = 0; i < h.dim[1]; ++i) {
        double p[3];
        for (int w = 0; w < 3; ++w)
          p[w] = static_cast<double>(rows[w][0]) * i + static_cast<double>(rows[w][1]) * j +
                 static_cast<double>(rows[w][2]) * k + static_cast<double>(rows[w][3]);
        voxels.push_back(static_cast<float>(valueAt(p[0], p[1], p[2])));
      }
  return voxels;
}

/// Largest difference between a voxel and the value for its position in the world, as given by the
/// volume's frame.
double worstVoxel(const NiftiVolume& volume) {
  const std::vector<float> values = voxelsOf(*volume.image.volume());
  const NmVec3f spacing = volume.image.volume()->voxelSpacing();
  const NmBox3f& box = volume.image.frame().box;
  double worst = 0.0;
  std::size_t voxel = 0;
  for (long z = 0; z < volume.image.dims().z; ++z)
    for (long y = 0; y < volume.image.dims().y; ++y)
      for (long x = 0; x < volume.image.dims().x; ++x) {
        NmVec3d p(box.xmin + static_cast<double>(x) * spacing.x,
                  box.ymin + static_cast<double>(y) * spacing.y,
                  box.zmin + static_cast<double>(z) * spacing.z);
        volume.image.frame().toWorld.multVecMatrix(p, p);
        worst = std::max(worst, std::abs(valueAt(p.x, p.y, p.z) - values[voxel++]));
      }
  return worst;
}

TEST(NiftiVolume, everyOrientationReadsRightAndWritesBackTheSameVoxels) {
  const TestFolder folder;
  int axes[3] = {0, 1, 2};
  int codes = 0;
  do {
    for (int flips = 0; flips < 8; ++flips)
      for (const double angle : {0.0, 0.35}) {
        SCOPED_TRACE(testing::Message()
                     << axes[0] << axes[1] << axes[2] << " flips " << flips << " angle " << angle);
        nifti_1_header header = makeHeader(5, 4, 3, DT_FLOAT32, 32);
        setAxes(header, axes, flips, angle);
        const std::vector<float> voxels = voxelsFor(header);
        const std::string bytes = bytesOf(header, voxels);
        writeFile(folder.file("in.nii"), bytes);
        const NiftiVolume volume = host::readNifti(folder.file("in.nii"));
        EXPECT_LT(worstVoxel(volume), 1e-4);
        EXPECT_GT(volume.image.frame().toWorld.det3(), 0.0);
        if (angle == 0.0) {
          for (int a = 0; a < 3; ++a) EXPECT_EQ(volume.image.frame().toWorld.m[a][a], 1.0);
        }

        saved(host::writeNifti, folder.file("out.nii"), volume);
        const std::string written = contentOf(folder.file("out.nii"));
        ASSERT_EQ(written.size(), bytes.size());
        EXPECT_EQ(written.substr(352), bytes.substr(352));
        EXPECT_LT(worstVoxel(host::readNifti(folder.file("out.nii"))), 1e-4);
        ++codes;
      }
  } while (std::next_permutation(axes, axes + 3));
  EXPECT_EQ(codes, 96);
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
  EXPECT_EQ(voxelsOf(*turned.image.volume()), (std::vector<float>{4, 3, 2, 1, 8, 7, 6, 5}));

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
  EXPECT_EQ(voxelsOf(*volume.image.volume())[0], static_cast<float>(stored));

  header.scl_slope = 0.5f;
  header.scl_inter = -3.0f;
  writeFile(folder.file("s.nii"), bytesOf(header, voxels));
  const NiftiVolume rescaled = host::readNifti(folder.file("s.nii"));
  EXPECT_EQ(rescaled.image.volume()->primType(), scaled);
  EXPECT_EQ(voxelsOf(*rescaled.image.volume())[0], static_cast<float>(0.5 * stored - 3.0));
}

TEST(NiftiVolume, everyRealDataTypeKeepsItsValuesAndIsScaledAsTheHeaderSays) {
  using enum NmPrimType::Value;
  expectType<std::uint8_t>(DT_UINT8, UnsignedChar, Float, 255);
  expectType<std::int8_t>(DT_INT8, Short, Float, -128);
  expectType<std::int16_t>(DT_INT16, Short, Float, -32768);
  expectType<std::uint16_t>(DT_UINT16, UnsignedShort, Float, 65535);
  expectType<std::int32_t>(DT_INT32, Int, Double, -2147483647);
  expectType<std::uint32_t>(DT_UINT32, Double, Double, 4294967295u);
  expectType<std::int64_t>(DT_INT64, Double, Double, -5000000000);
  expectType<std::uint64_t>(DT_UINT64, Double, Double, 5000000000u);
  expectType<float>(DT_FLOAT32, Float, Float, -1.25f);
  expectType<double>(DT_FLOAT64, Double, Double, 1.0e20);
}

}  // namespace
