#include "foundation/VlMemoryData.h"

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "foundation/voxels/volumeFrame.h"
#include "tests/support/LogCapture.h"
#include "tests/support/volumes.h"
#include "tests/support/voxelTypes.h"

namespace {

template <class T>
class VlMemoryDataOfType : public testing::Test {};
TYPED_TEST_SUITE(VlMemoryDataOfType, TypedSuiteOfVoxels);

TYPED_TEST(VlMemoryDataOfType, StartsZeroedWithItsDefaultBox) {
  const NmHandle<VlMemoryData> volume = makeVolume({4, 1, 3}, voxelTypeNumber<TypeParam>, 2);
  EXPECT_EQ(voxreg::detail::boxOf(*volume), NmBox3f(0, 3, 0, 1, 0, 2));
  const NmHandle<VlDataAccess> access = volume->lock(false);
  const TypeParam* const voxels = static_cast<const TypeParam*>(access->dataPtr(0));
  EXPECT_EQ(std::vector<TypeParam>(voxels, voxels + 24), std::vector<TypeParam>(24));
  EXPECT_TRUE(access->isContiguous() && access->isLinear());
  EXPECT_EQ(access->dataPtr(1), nullptr);
  EXPECT_EQ(access->dataPtr(-1), nullptr);
}

// Each line is read and written back elsewhere, so that the whole block is compared.
TYPED_TEST(VlMemoryDataOfType, RowsRunAlongEveryAxis) {
  const NmVec3l n(5, 3, 2);
  std::vector<TypeParam> voxels;
  for (int i = 0; i < 5 * 3 * 2 * 2; ++i) voxels.push_back(static_cast<TypeParam>(i));
  const auto source = wrapVolume(n, voxelTypeNumber<TypeParam>, 2, voxels.data())->lock(false);
  EXPECT_EQ(source->dataPtr(0), voxels.data());
  for (int axis = 0; axis < 3; ++axis) {
    std::vector<TypeParam> copy(voxels.size());
    const auto target = wrapVolume(n, voxelTypeNumber<TypeParam>, 2, copy.data())->lock(true);
    for (int i = 0; i < 5 * 3 * 2; ++i) {
      NmVec3l at(i % 5, i / 5 % 3, i / 15);
      const long place = std::exchange(at[axis], -1);
      float line[2 * 5];
      ASSERT_TRUE(source->row(at.x, at.y, at.z, line).isOk());
      EXPECT_EQ(line[2 * place + 1], static_cast<float>(2 * i + 1));
      ASSERT_TRUE(target->putRow(at.x, at.y, at.z, line).isOk());
    }
    EXPECT_EQ(copy, voxels) << axis;
  }
}

template <class T>
std::vector<T> stored(std::vector<float> values) {
  std::vector<T> voxels(values.size());
  const NmVec3l dims(static_cast<long>(values.size()), 1, 1);
  const auto access = wrapVolume(dims, voxelTypeNumber<T>, 1, voxels.data())->lock(true);
  EXPECT_TRUE(access->putRow(-1, 0, 0, values.data()).isOk());
  return voxels;
}

/// Values about every limit and half, and the infinities.
std::vector<float> awkwardValues() {
  std::vector<float> values;
  for (const float centre : {0.0f, 127.0f, 255.0f, 32767.0f, -32768.0f, 65535.0f, 2147483648.0f})
    for (int i = -8; i <= 8; ++i) values.push_back(centre + static_cast<float>(i) * 0.25f);
  for (const float v : {0.5f, 2.5f, 8388607.5f, 12582912.0f, 1e30f, INFINITY,
                        std::numeric_limits<float>::denorm_min()})
    values.insert(values.end(), {v, -v, std::nextafter(v, 0.0f), std::nextafter(-v, 0.0f)});
  return values;
}

// In one line, which holds values beyond the limits, and each alone.
TYPED_TEST(VlMemoryDataOfType, PutRowRoundsToEvenAndSaturates) {
  std::vector<float> values = awkwardValues();
  if (std::is_integral_v<TypeParam>) values.insert(values.end(), {NAN, -NAN});
  std::vector<TypeParam> expected, alone;
  for (const float value : values) {
    expected.push_back(naiveVoxel<TypeParam>(value));
    alone.push_back(stored<TypeParam>({value})[0]);
  }
  EXPECT_EQ(stored<TypeParam>(values), expected);
  EXPECT_EQ(alone, expected);
  EXPECT_EQ(std::isnan(static_cast<double>(stored<TypeParam>({NAN})[0])),
            std::is_floating_point_v<TypeParam>);
}

TEST(VlMemoryData, RowsRefuseWhatIsNoLineAndReadAccessDoesNotWrite) {
  LogCapture log;
  const NmHandle<VlMemoryData> volume = makeVolume({3, 2, 4}, NmPrimType::Short);
  NmHandle<VlDataAccess> access = volume->lock(true);
  float line[4] = {7, 7, 7, 7};
  const auto refused = [&](const NmVec3l& at, float* buffer) {
    EXPECT_FALSE(access->row(at.x, at.y, at.z, buffer).isOk());
    EXPECT_EQ(log.error().rfind("VlDataAccess::row:", 0), 0U);
    EXPECT_FALSE(access->putRow(at.x, at.y, at.z, buffer).isOk());
    EXPECT_EQ(log.error().rfind("VlDataAccess::putRow:", 0), 0U);
  };
  constexpr long most = std::numeric_limits<long>::max();
  for (const NmVec3l& at :
       {NmVec3l(0, 0, 0), NmVec3l(-1, -1, 0), NmVec3l(-1, -1, -1), NmVec3l(-1, 2, 0),
        NmVec3l(-1, 0, 4), NmVec3l(3, -1, 0), NmVec3l(-2, 0, 0), NmVec3l(-1, most, 0),
        NmVec3l(-1, 0, -most - 1), NmVec3l(-1, -2, 0)})
    refused(at, line);
  refused({-1, 0, 0}, nullptr);
  EXPECT_EQ(line[0], 7.0f);
  access = nullptr;
  access = volume->lock(false);
  EXPECT_FALSE(access->putRow(-1, 0, 0, line).isOk());
  EXPECT_TRUE(access->row(-1, 0, 0, line).isOk());
  EXPECT_EQ(line[0], 0.0f);
}

TEST(VlMemoryData, InitRefusesAndStaysAsItWas) {
  LogCapture log;
  const NmHandle<VlMemoryData> volume = makeVolume({3, 2, 4}, NmPrimType::Short);
  const NmBox3f box(1, 2, 3, 4, 5, 6);
  EXPECT_TRUE(volume->setBoundingBox(box).isOk());
  const auto refused = [&](const NmVec3l& dims, NmPrimType type, int variables) {
    EXPECT_FALSE(volume->init(dims, type, variables, true, true, true).isOk());
    EXPECT_EQ(log.error().rfind("VlMemoryData::init:", 0), 0U);
    short one = 0;
    EXPECT_FALSE(volume->initShared(dims, type, variables, &one).isOk());
    EXPECT_EQ(log.error().rfind("VlMemoryData::initShared:", 0), 0U);
  };
  constexpr long limit = 2147483647;
  for (const NmVec3l& dims : {NmVec3l(0, 1, 1), NmVec3l(1, -1, 1), NmVec3l(limit + 1, 1, 1),
                              NmVec3l(limit, limit, limit)})
    refused(dims, NmPrimType::Short, 1);
  for (const int type : {-1, 5, 6, 8, 9, 10, 1000}) refused({1, 1, 1}, type, 1);
  for (const int variables : {0, -3}) refused({1, 1, 1}, NmPrimType::Short, variables);
  for (const bool write : {false, true}) {
    const NmHandle<VlDataAccess> access = volume->lock(write);
    refused({1, 1, 1}, NmPrimType::Short, 1);
  }
  EXPECT_FALSE(volume->init({1L << 30, 1L << 25, 1}, NmPrimType::Double, 1, 1, 1, 1).isOk());
  EXPECT_EQ(log.error(), "VlMemoryData::init: memory is exhausted");
  short two[2] = {};
  for (void* const voxels :
       {static_cast<void*>(nullptr), static_cast<void*>(reinterpret_cast<unsigned char*>(two) + 1)})
    EXPECT_FALSE(volume->initShared({1, 1, 1}, NmPrimType::Short, 1, voxels).isOk());
  EXPECT_EQ(volume->dims(), NmVec3l(3, 2, 4));
  EXPECT_EQ(voxreg::detail::boxOf(*volume), box);
  EXPECT_TRUE(volume->init({1, 1, 1}, NmPrimType::Float, 1, true, true, true).isOk());
  EXPECT_EQ(volume->dims().x, 1);
}

TEST(VlMemoryData, WithoutVoxelsThereIsNoAccess) {
  LogCapture log;
  const VlMeta meta(false, true);
  const NmHandle<VlMemoryData> volume = new VlMemoryData(&meta);
  EXPECT_EQ(volume->tryLock(true).get(), nullptr);
  EXPECT_TRUE(log.errors.empty());
  EXPECT_EQ(volume->lock(false).get(), nullptr);
  EXPECT_EQ(log.error().rfind("VlData::lock:", 0), 0U);
  EXPECT_EQ(volume->createEvaluator(VlData::Trilinear).get(), nullptr);
  EXPECT_EQ(log.error().rfind("VlData::createEvaluator:", 0), 0U);
}

TEST(VlMemoryData, ConstantVoxelsCanBeReadOnly) {
  LogCapture log;
  const float constant[] = {1.0f, 2.0f, 3.0f};
  const NmHandle<VlMemoryData> volume = new VlMemoryData(nullptr);
  ASSERT_TRUE(volume->initShared({3, 1, 1}, NmPrimType::Float, 1, constant).isOk());
  EXPECT_EQ(volume->lock(false)->dataPtr(0), constant);
  EXPECT_FALSE(volume->tryLock(true));
  EXPECT_TRUE(log.errors.empty());
  EXPECT_FALSE(volume->lock(true));
  EXPECT_EQ(log.error(), "VlData::lock: the volume has no voxels to write to");
  float voxels[] = {4.0f, 5.0f, 6.0f};
  ASSERT_TRUE(volume->initShared({3, 1, 1}, NmPrimType::Float, 1, voxels).isOk());
  EXPECT_TRUE(volume->lock(true));
}

TEST(VlMemoryData, RefusesABoxThatIsNotFinite) {
  LogCapture log;
  const NmHandle<VlMemoryData> volume = makeVolume({3, 1, 5}, NmPrimType::Short);
  EXPECT_FALSE(volume->setBoundingBox({0, 1, 0, NAN, 0, 1}).isOk());
  EXPECT_FALSE(volume->setBoundingBox({-INFINITY, 1, 0, 1, 0, 1}).isOk());
  EXPECT_TRUE(volume->setBoundingBox({0, 1, 0, 7, 0, 1}).isOk());
  EXPECT_EQ(volume->voxelSpacing(), NmVec3f(0.5f, 7.0f, 0.25f));
}

}  // namespace
