#include <gtest/gtest.h>

#include <cmath>

#include "elastic/RegElasticRegistration.h"
#include "tests/support/LogCapture.h"
#include "tests/support/volumeValues.h"

namespace {

TEST(SpecifyDownsampling, PlansTheNextLevel) {
  struct Case {
    NmVec3i dims;
    NmVec3f size;
    NmVec3i newDims;
    NmVec3f newSize;
  };
  const float f513 = 513.0f / 256.0f;
  const Case cases[] = {
      {{65, 1, 3}, {1, 1, 1}, {32, 0, 2}, {2, 2, 2}},
      {{512, 100, 1}, {1, 2, 1}, {256, 50, 1}, {2, 4, 1}},
      // Voxels twice as long along z stay, unless the volume is deep.
      {{512, 512, 100}, {1, 1, 2}, {256, 256, 100}, {2, 2, 2}},
      {{400, 300, 100}, {1, 1, 2}, {200, 150, 100}, {2, 2, 2}},
      {{400, 300, 101}, {1, 1, 2}, {200, 150, 51}, {2, 2, 4}},
      {{400, 300, 101}, {1, 1, 2.5f}, {200, 150, 101}, {2, 2, 2.5f}},
      {{400, 300, 2}, {1, 1, 1.9f}, {200, 150, 1}, {2, 2, 3.8f}},
      {{70, 70, 5}, {0, 1, 9}, {35, 35, 3}, {0, 2, 18}},
      {{513, 100, 33}, {1, 1, 1}, {256, 50, 17}, {f513, f513, 2}},
      {{80, 1024, 9}, {1, 1, 4}, {20, 256, 9}, {4, 4, 4}},
      {{14, 1024, 9}, {1, 1, 3.9f}, {4, 256, 5}, {4, 4, 7.8f}},  // 3.5 rounds to even
      {{10, 1024, 2147483647}, {1, 1, 1}, {2, 256, 1073741824}, {4, 4, 2}}};
  const RegElasticRegistration pipeline;
  for (const Case& c : cases) {
    NmVec3i dims(7, 7, 7);
    NmVec3f size(7, 7, 7);
    EXPECT_TRUE(pipeline.specifyDownsampling(c.dims, c.size, dims, size));
    EXPECT_EQ(dims, c.newDims) << c.dims.x << " " << c.dims.z;
    EXPECT_EQ(size, c.newSize) << c.dims.x << " " << c.dims.z;
  }
  NmVec3i dims(64, 500, 9);
  NmVec3f size(1, 1, 1);
  EXPECT_FALSE(pipeline.specifyDownsampling(dims, size, dims, size));
  EXPECT_EQ(dims, NmVec3i());
  EXPECT_EQ(size, NmVec3f());
}

TEST(Downsample, MakesANewVolumeOrNone) {
  const LogCapture log;
  RegElasticRegistration pipeline;
  pipeline.numThreads = -1;
  const std::vector<float> values = generate(60, [](long i) { return i * i % 97; });
  const NmHandle<VlData> source = volumeOf({5, 4, 3}, NmPrimType::UnsignedShort, 1, values);
  const auto downsample = [&](NmVec3i dims, const NmVec3f& size, NmHandle<VlData>& result) {
    return pipeline.downsample(source, result, dims, size, true);
  };
  // What the caller holds is neither written nor taken for the copy, not even if it fits.
  NmHandle<VlData> result = source;
  EXPECT_TRUE(downsample({5, 4, 3}, {1, 1, 1}, result));
  EXPECT_NE(result.get(), source.get());
  EXPECT_EQ(valuesOf(*result), values);
  const NmHandle<VlData> copy = result;
  EXPECT_TRUE(downsample({7, 4, 2}, {1, 1, 1}, result));
  EXPECT_EQ(result->dims(), NmVec3l(7, 4, 2));
  EXPECT_EQ(valuesOf(*copy), values);
  result = copy;
  const NmVec3i refused[] = {{5, 4, 4}, {6, 4, 3}, {5, 0, 3}, {5, 4, -1}};
  for (const NmVec3i& dims : refused) EXPECT_FALSE(downsample(dims, {1, 1, 1}, result));
  for (const float thickness : {0.0f, -1.0f, NAN})
    for (int axis = 0; axis < 3; ++axis) {
      NmVec3f size(1, 1, 1);
      size[axis] = thickness;
      EXPECT_FALSE(downsample({5, 4, 3}, size, result));
    }
  EXPECT_FALSE(downsample({2147483647, 2147483647, 1}, {1, 1, 1}, result));  // no such volume
  NmVec3i dims(1, 1, 1);
  EXPECT_FALSE(pipeline.downsample(nullptr, result, dims, {1, 1, 1}, false));
  EXPECT_EQ(result.get(), copy.get());
}

TEST(GetNumBricks, MakesBricksNearlyCubic) {
  const RegElasticRegistration pipeline;
  const auto bricks = [&](int n, int axis, const NmVec3f& size) {
    return pipeline.getNumBricks(n, axis, {100, 60, 10}, size);
  };
  EXPECT_EQ(bricks(10, 0, {1, 1, 1}), NmVec3i(10, 6, 1));
  EXPECT_EQ(bricks(10, 0, {1, 1.08332f, 4.49995f}), NmVec3i(10, 7, 5));
  EXPECT_EQ(bricks(10, 0, {1, 1.0833f, 4.4998f}), NmVec3i(10, 6, 4));
  EXPECT_EQ(bricks(5, 2, {1, 1, 1}), NmVec3i(50, 30, 5));
  EXPECT_EQ(bricks(5, 99, {1, 1, 1}), NmVec3i(50, 30, 5));
  EXPECT_EQ(bricks(-4, -1, {1, 1, 1}), NmVec3i(1, 1, 1));
  EXPECT_EQ(bricks(120, 1, {1, 1, 1}), NmVec3i(200, 120, 20));
  EXPECT_EQ(bricks(7, 1, {1, 0, 1}), NmVec3i(1, 7, 1));
  EXPECT_EQ(bricks(7, 1, {NAN, 1, -3}), NmVec3i(1, 7, 1));
  EXPECT_EQ(bricks(7, 1, {3e36f, 1e-30f, 1}), NmVec3i(2147483647, 7, 2147483647));
}

}  // namespace
