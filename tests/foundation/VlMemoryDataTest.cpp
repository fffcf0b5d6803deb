#include "foundation/VlMemoryData.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "tests/support/LogCapture.h"
#include "tests/support/volumes.h"

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

template <class T>
constexpr int typeNumber = -1;
template <>
constexpr int typeNumber<unsigned char> = 0;
template <>
constexpr int typeNumber<short> = 1;
template <>
constexpr int typeNumber<int> = 2;
template <>
constexpr int typeNumber<float> = 3;
template <>
constexpr int typeNumber<double> = 4;
template <>
constexpr int typeNumber<unsigned short> = 7;

template <class T>
class VlMemoryDataOfType : public testing::Test {};
using VoxelTypes = testing::Types<unsigned char, short, int, float, double, unsigned short>;
TYPED_TEST_SUITE(VlMemoryDataOfType, VoxelTypes);

TYPED_TEST(VlMemoryDataOfType, StartsZeroedWithItsDefaultBox) {
  const NmHandle<VlMemoryData> volume = makeVolume({4, 1, 3}, typeNumber<TypeParam>, 2);
  ASSERT_TRUE(volume);
  EXPECT_EQ(volume->dims(), NmVec3l(4, 1, 3));
  EXPECT_EQ(volume->numDataVars(), 2);
  EXPECT_EQ(volume->primType(), typeNumber<TypeParam>);
  NmBox3f box;
  volume->boundingBox(box);
  EXPECT_EQ(box, NmBox3f(0, 3, 0, 1, 0, 2));
  EXPECT_EQ(volume->voxelSpacing(), NmVec3f(1, 1, 1));
  const NmHandle<VlDataAccess> access = volume->lock(false);
  const TypeParam* const voxels = static_cast<const TypeParam*>(access->dataPtr(0));
  EXPECT_EQ(std::vector<TypeParam>(voxels, voxels + 24), std::vector<TypeParam>(24));
  EXPECT_TRUE(access->isContiguous());
  EXPECT_TRUE(access->isLinear());
  EXPECT_EQ(access->dataPtr(1), nullptr);
  EXPECT_EQ(access->dataPtr(-1), nullptr);
}

// Voxel (x, y, z) of variable v holds 100 z + 20 y + 3 x + v; each line is read and written back
// elsewhere, so that the whole block is compared.
TYPED_TEST(VlMemoryDataOfType, RowsRunAlongEveryAxis) {
  const long n[3] = {5, 3, 2};
  std::vector<TypeParam> voxels;
  for (int z = 0; z < n[2]; ++z)
    for (int y = 0; y < n[1]; ++y)
      for (int x = 0; x < n[0]; ++x)
        for (int v = 0; v < 2; ++v)
          voxels.push_back(static_cast<TypeParam>(100 * z + 20 * y + 3 * x + v));
  const auto source =
      wrapVolume({n[0], n[1], n[2]}, typeNumber<TypeParam>, 2, voxels.data())->lock(false);
  EXPECT_EQ(source->dataPtr(0), voxels.data());
  for (int axis = 0; axis < 3; ++axis) {
    std::vector<TypeParam> copy(voxels.size());
    const auto target =
        wrapVolume({n[0], n[1], n[2]}, typeNumber<TypeParam>, 2, copy.data())->lock(true);
    const int other = axis == 0 ? 1 : 0;
    const int last = 3 - axis - other;
    for (long i = 0; i < n[other]; ++i)
      for (long k = 0; k < n[last]; ++k) {
        long at[3];
        at[axis] = -1;
        at[other] = i;
        at[last] = k;
        std::vector<float> line(static_cast<unsigned long>(2 * n[axis]));
        ASSERT_TRUE(source->row(at[0], at[1], at[2], line.data()).isOk());
        at[axis] = 1;
        EXPECT_EQ(line[3], static_cast<float>(100 * at[2] + 20 * at[1] + 3 * at[0] + 1));
        at[axis] = -1;
        ASSERT_TRUE(target->putRow(at[0], at[1], at[2], line.data()).isOk());
      }
    EXPECT_EQ(copy, voxels) << axis;
  }
}

template <class T>
std::vector<T> stored(std::vector<float> values) {
  std::vector<T> voxels(values.size());
  const auto access =
      wrapVolume({static_cast<long>(values.size()), 1, 1}, typeNumber<T>, 1, voxels.data())
          ->lock(true);
  EXPECT_TRUE(access->putRow(-1, 0, 0, values.data()).isOk());
  return voxels;
}

TYPED_TEST(VlMemoryDataOfType, PutRowRoundsToEvenAndSaturates) {
  using T = TypeParam;
  if constexpr (std::is_floating_point_v<T>) {
    EXPECT_EQ(stored<T>({0.5f, -infinity, 1e38f}), (std::vector<T>{0.5f, -infinity, 1e38f}));
    EXPECT_TRUE(std::isnan(stored<T>({std::nanf("")})[0]));
  } else {
    constexpr T low = std::numeric_limits<T>::lowest();
    constexpr T high = std::numeric_limits<T>::max();
    EXPECT_EQ(stored<T>({0.5f, 1.5f, 2.5f, 2.4999998f, 2.5000002f, 100.49f}),
              (std::vector<T>{0, 2, 2, 2, 3, 100}));
    EXPECT_EQ(stored<T>({-infinity, -3e9f, 3e9f, infinity, std::nanf("")}),
              (std::vector<T>{low, low, high, high, 0}));
    EXPECT_EQ(stored<T>({static_cast<float>(high), static_cast<float>(low)}),
              (std::vector<T>{high, low}));
    if constexpr (low < 0) {
      EXPECT_EQ(stored<T>({-0.5f, -1.5f, -2.5f}), (std::vector<T>{0, -2, -2}));
    }
  }
}

TEST(VlMemoryData, RowsRefuseWhatIsNoLine) {
  LogCapture log;
  const NmHandle<VlMemoryData> volume = makeVolume({3, 2, 4}, NmPrimType::Short);
  const NmHandle<VlDataAccess> access = volume->lock(true);
  constexpr long most = std::numeric_limits<long>::max();
  const long bad[][3] = {{0, 0, 0},  {-1, -1, 0}, {-1, -1, -1},  {-1, 2, 0},         {-1, 0, 4},
                         {3, -1, 0}, {-2, 0, 0},  {-1, most, 0}, {-1, 0, -most - 1}, {-1, -2, 0}};
  for (const auto& at : bad) {
    float line[4] = {7, 7, 7, 7};
    EXPECT_FALSE(access->row(at[0], at[1], at[2], line).isOk());
    EXPECT_EQ(log.error().rfind("VlDataAccess::row:", 0), 0U);
    EXPECT_EQ(line[0], 7.0f);
    EXPECT_FALSE(access->putRow(at[0], at[1], at[2], line).isOk());
    EXPECT_EQ(log.error().rfind("VlDataAccess::putRow:", 0), 0U);
  }
  EXPECT_FALSE(access->row(-1, 0, 0, nullptr).isOk());
  EXPECT_FALSE(access->putRow(-1, 0, 0, nullptr).isOk());
  float min = 1.0f;
  float max = 1.0f;
  EXPECT_FALSE(volume->range(min, max, true).isOk());  // this thread writes
  EXPECT_EQ(max, 0.0f);
}

TEST(VlMemoryData, ReadAccessDoesNotWrite) {
  LogCapture log;
  const NmHandle<VlDataAccess> access = makeVolume({2, 1, 1}, NmPrimType::Float)->lock(false);
  const float line[] = {1.0f, 2.0f};
  EXPECT_FALSE(access->putRow(-1, 0, 0, line).isOk());
  float now[2];
  EXPECT_TRUE(access->row(-1, 0, 0, now).isOk());
  EXPECT_EQ(now[1], 0.0f);
}

TEST(VlMemoryData, InitRefusesBadShapesAndStaysAsItWas) {
  LogCapture log;
  const NmHandle<VlMemoryData> volume = makeVolume({3, 2, 4}, NmPrimType::Short);
  const NmBox3f box(1, 2, 3, 4, 5, 6);
  EXPECT_TRUE(volume->setBoundingBox(box).isOk());
  constexpr long limit = 2147483647;
  const NmVec3l shapes[] = {{0, 1, 1}, {1, -1, 1}, {limit + 1, 1, 1}, {limit, limit, limit}};
  const auto fails = [&](const NmVec3l& dims, NmPrimType type, int variables) {
    EXPECT_FALSE(volume->init(dims, type, variables, true, true, true).isOk());
    EXPECT_EQ(log.error().rfind("VlMemoryData::init:", 0), 0U);
    short one = 0;
    EXPECT_FALSE(volume->initShared(dims, type, variables, &one).isOk());
    EXPECT_EQ(log.error().rfind("VlMemoryData::initShared:", 0), 0U);
  };
  for (const NmVec3l& dims : shapes) fails(dims, NmPrimType::Short, 1);
  for (const int type : {-1, 5, 6, 8, 9, 10, 1000}) fails({1, 1, 1}, type, 1);
  for (const int variables : {0, -3}) fails({1, 1, 1}, NmPrimType::Short, variables);
  short two[2] = {};
  EXPECT_FALSE(volume->initShared({1, 1, 1}, NmPrimType::Short, 1, nullptr).isOk());
  EXPECT_FALSE(
      volume->initShared({1, 1, 1}, 1, 1, reinterpret_cast<unsigned char*>(two) + 1).isOk());
  EXPECT_EQ(volume->dims(), NmVec3l(3, 2, 4));
  NmBox3f now;
  volume->boundingBox(now);
  EXPECT_EQ(now, box);
}

TEST(VlMemoryData, InitFailsWhenMemoryIsExhausted) {
  LogCapture log;
  const NmHandle<VlMemoryData> volume = makeVolume({3, 1, 1}, NmPrimType::Short);
  EXPECT_FALSE(volume->init({1L << 30, 1L << 25, 1}, NmPrimType::Double, 1, 1, 1, 1).isOk());
  EXPECT_EQ(log.error(), "VlMemoryData::init: memory is exhausted");
  EXPECT_EQ(volume->dims(), NmVec3l(3, 1, 1));
  EXPECT_TRUE(volume->tryLock(true));
}

TEST(VlMemoryData, InitFailsWhileLocked) {
  LogCapture log;
  const NmHandle<VlMemoryData> volume = makeVolume({3, 1, 1}, NmPrimType::Short);
  for (const bool write : {false, true}) {
    const NmHandle<VlDataAccess> access = volume->lock(write);
    EXPECT_FALSE(volume->init({1, 1, 1}, NmPrimType::Short, 1, true, true, true).isOk());
    EXPECT_EQ(log.error(), "VlMemoryData::init: the volume is locked");
  }
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
  EXPECT_TRUE(volume->init({1, 1, 1}, NmPrimType::Short, 1, true, true, true).isOk());
}

TEST(VlMemoryData, RefusesABoxThatIsNotFinite) {
  LogCapture log;
  const NmHandle<VlMemoryData> volume = makeVolume({3, 1, 5}, NmPrimType::Short);
  EXPECT_FALSE(volume->setBoundingBox({0, 1, 0, std::nanf(""), 0, 1}).isOk());
  EXPECT_FALSE(volume->setBoundingBox({-infinity, 1, 0, 1, 0, 1}).isOk());
  EXPECT_TRUE(volume->setBoundingBox({0, 1, 0, 7, 0, 1}).isOk());
  EXPECT_EQ(volume->voxelSpacing(), NmVec3f(0.5f, 7.0f, 0.25f));
}

}  // namespace
