#include <limits>

#include "tests/support/LogCapture.h"
#include "tests/support/voxelTypes.h"
#include "tests/workflow/rows.h"

namespace {

using voxreg::Image;

template <class T>
class ImageTypes : public testing::Test {};
TYPED_TEST_SUITE(ImageTypes, TypedSuiteOfVoxels);

TYPED_TEST(ImageTypes, areWrappedWithoutACopyAndCopiedWhereAskedFor) {
  std::vector<TypeParam> voxels = {1, 2, 3, 4, 5, 6};
  const NmVec3l dims(3, 2, 1);
  const Image wrapped = Image::wrap(voxels.data(), dims, NmMat4d());
  const Image copied = Image::copy(voxels.data(), dims, NmMat4d());
  ASSERT_TRUE(wrapped && copied);
  EXPECT_EQ(wrapped.voxels(), voxels.data());
  EXPECT_EQ(Image(wrapped).voxels(), voxels.data());
  EXPECT_EQ(wrapped.volume()->lock(true), nullptr) << "the host's voxels are read only";
  voxels[4] = 50;
  EXPECT_EQ(wrapped.voxelsAs<TypeParam>()[4], static_cast<TypeParam>(50));
  EXPECT_EQ(voxelsIn<TypeParam>(copied), (std::vector<TypeParam>{1, 2, 3, 4, 5, 6}));
}

TEST(Image, ofBadGeometryOrWithoutVoxelsIsEmpty) {
  const LogCapture log;
  const std::vector<double> voxels(8);
  const NmVec3l dims(2, 2, 2);
  NmMat4d singular, infinite, projective;
  singular.m[1][1] = 0.0;
  infinite.m[3][0] = std::numeric_limits<double>::infinity();
  projective.m[0][3] = 1.0;
  for (const NmMat4d& matrix : {singular, infinite, projective}) {
    EXPECT_FALSE(Image::wrap(voxels.data(), dims, matrix));
    EXPECT_FALSE(Image::allocate(NmPrimType::Float, dims, matrix));
  }
  for (const NmVec3l& wrong : {NmVec3l(0, 2, 2), NmVec3l(2, -1, 2), NmVec3l(2, 2, 1L << 31)})
    EXPECT_FALSE(Image::wrap(voxels.data(), wrong, NmMat4d()));
  const char* const bytes = static_cast<const char*>(static_cast<const void*>(voxels.data()));
  EXPECT_FALSE(Image::wrap(NmPrimType::Double, bytes + 1, NmVec3l(1, 1, 1), NmMat4d()));
  EXPECT_FALSE(Image::wrap(NmPrimType(5), voxels.data(), dims, NmMat4d()));
  EXPECT_FALSE(Image::wrap<float>(nullptr, dims, NmMat4d()));
  EXPECT_FALSE(Image::copy<float>(nullptr, dims, NmMat4d()));
  EXPECT_EQ(Image().voxels(), nullptr);
}

}  // namespace
