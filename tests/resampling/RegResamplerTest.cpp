#include "resampling/RegResampler.h"

#include <cmath>
#include <limits>
#include <stdexcept>

#include "foundation/voxels/volumeFrame.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RowVolume.h"
#include "tests/support/volumeValues.h"

namespace {

using voxreg::detail::boxOf;

static_assert(sizeof(RegResampler::FilterType) == 4);

bool resample(VlData* source, NmHandle<VlData>& result, const NmVec3f& dims,
              RegResampler::FilterType filter = RegResampler::Triangle, int threads = 1) {
  return RegResampler().doResample(source, result, dims, nullptr, {}, filter, 0.0f, threads);
}

NmHandle<VlMemoryData> smallVolume(NmPrimType type = NmPrimType::Short, int numDataVars = 1) {
  return volumeOf({4, 3, 2}, type, numDataVars,
                  generate(24 * numDataVars, [](long i) { return 3 * i; }));
}

TEST(DoResample, SameDimensionsAreACopyOfTheBytes) {
  const NmHandle<VlMemoryData> source = smallVolume(NmPrimType::Double, 8);
  const NmBox3f sourceBox(1, 2, 3, 4, 5, 6);
  source->setBoundingBox(sourceBox);
  for (const int filter : {0, 4, 7, 11}) {
    NmHandle<VlData> result;
    EXPECT_TRUE(resample(source, result, {4, 3, 2}, static_cast<RegResampler::FilterType>(filter)));
    EXPECT_EQ(valuesOf(*result), valuesOf(*source));
    EXPECT_EQ(boxOf(*result), sourceBox);
  }
}

TEST(DoResample, WritesIntoAVolumeThatFitsAndOnlyIntoThat) {
  const NmHandle<VlMemoryData> source = smallVolume();
  const NmHandle<VlData> fitting = makeVolume({2, 3, 2}, NmPrimType::Short);
  NmHandle<VlData> result = fitting;
  EXPECT_TRUE(resample(source, result, {2, 3, 2}));
  EXPECT_EQ(result, fitting);
  EXPECT_NE(valuesOf(*fitting)[1], 0.0f);
  for (const NmHandle<VlMemoryData>& other :
       {makeVolume({2, 3, 1}, NmPrimType::Short), makeVolume({2, 3, 2}, NmPrimType::UnsignedShort),
        makeVolume({2, 3, 2}, NmPrimType::Short, 2)}) {
    result = NmHandle<VlData>(other);
    EXPECT_TRUE(resample(source, result, {2, 3, 2}));
    EXPECT_NE(result.get(), other.get());
    EXPECT_EQ(result->primType(), NmPrimType::Short);
  }
  result = source;
  EXPECT_TRUE(resample(source, result, {4, 3, 2}));
  EXPECT_NE(result.get(), source.get());
}

TEST(DoResample, RefusesInSilenceAndLeavesTheResult) {
  const LogCapture log;
  const NmHandle<VlMemoryData> source = smallVolume();
  const NmHandle<VlData> before = makeVolume({2, 3, 2}, NmPrimType::Short);
  NmHandle<VlData> result = before;
  EXPECT_FALSE(resample(nullptr, result, {2, 2, 2}));
  for (const float bad : {NAN, INFINITY, -INFINITY, 0.0f, -1.0f, 2147483648.0f})
    for (int axis = 0; axis < 3; ++axis) {
      NmVec3f dims(2, 2, 2);
      dims[axis] = bad;
      EXPECT_FALSE(resample(source, result, dims)) << bad;
    }
  EXPECT_FALSE(resample(source, result, {2, 2, 2}, RegResampler::Bell, 0));
  EXPECT_FALSE(resample(smallVolume(NmPrimType::Short, 7), result, {2, 2, 2}));
  RegResampler resampler;
  EXPECT_FALSE(
      resampler.doResample(source, result, {2, 2, 2}, before, {}, RegResampler::Cubic8, 0, 1));
  EXPECT_EQ(resampler.filterType, RegResampler::Cubic8);
  for (const auto filter : {RegResampler::Box, RegResampler::Bell, RegResampler::Minimum})
    for (const bool holdsSource : {true, false}) {
      const NmHandle<VlDataAccess> held = holdsSource ? source->lock(true) : before->lock(false);
      EXPECT_FALSE(resample(source, result, {2, 3, 2}, filter));
      EXPECT_TRUE(isUnlocked(holdsSource ? before : source));
    }
  // Its identity copy needs voxels in a block.
  EXPECT_FALSE(resample(NmHandle<VlData>(new RowVolume(before)), result, {2, 3, 2}));
  EXPECT_THROW(resample(source, result, {2e9f, 2e9f, 2e9f}), std::logic_error);
  EXPECT_THROW(resample(source, result, {4e5f, 4e5f, 4e3f}), std::logic_error);
  EXPECT_EQ(result, before);
  EXPECT_TRUE(log.errors.empty() && log.lines.empty());
  EXPECT_TRUE(isUnlocked(source));
}

TEST(DoResample, ReachesAnyLengthThatIsAboveZero) {
  const NmHandle<VlMemoryData> source = smallVolume(NmPrimType::Float);
  const NmVec3f least(1e-30f, 1e-6f, std::numeric_limits<float>::denorm_min());
  for (const auto filter : {RegResampler::Triangle, RegResampler::Lanczos3}) {
    const LogCapture log;
    NmHandle<VlData> result;
    EXPECT_TRUE(resample(source, result, least, filter));
    EXPECT_EQ(result->dims(), NmVec3l(1, 1, 1));
  }
}

TEST(Zoom3d, RefusesATargetThatDoesNotFit) {
  const NmHandle<VlMemoryData> source = smallVolume();
  const auto zoom = [&](VlData* target, const NmVec3f& lengths) {
    const float n[3] = {lengths.x, lengths.y, lengths.z};
    return RegResampler().zoom3d(*source, *target, n, box_filter, 0.5f, 1);
  };
  EXPECT_TRUE(zoom(makeVolume({2, 2, 2}, NmPrimType::Short), {2, 1.5f, 2}));
  EXPECT_FALSE(zoom(makeVolume({2, 1, 2}, NmPrimType::Short), {2, 1.5f, 2}));
  EXPECT_FALSE(zoom(makeVolume({2, 2, 2}, NmPrimType::Short, 2), {2, 1.5f, 2}));
  EXPECT_FALSE(zoom(makeVolume({4, 3, 2}, NmPrimType::UnsignedChar), {4, 3, 2}));
  const NmHandle<VlMemoryData> withoutVoxels = new VlMemoryData(nullptr);
  EXPECT_FALSE(zoom(withoutVoxels, {2, 1.5f, 2}));
  EXPECT_FALSE(RegResampler().zoom3d(*source, *source, nullptr, box_filter, 0.5f, 1));
  // Another type is no obstacle to the passes, which then spare themselves the last rounding.
  const NmHandle<VlMemoryData> fine = makeVolume({1, 3, 2}, NmPrimType::Float);
  EXPECT_TRUE(zoom(fine, {1, 3, 2}));
  EXPECT_EQ(valuesOf(*fine)[0], 4.5f);
}

TEST(SetUniformCoords, KeepsTheOuterEdges) {
  const NmHandle<VlMemoryData> source = smallVolume();
  source->setBoundingBox({0, 6, 10, 14, 5, 8});  // voxels of 2, 2 and 3
  const NmHandle<VlMemoryData> target = makeVolume({2, 1, 2}, NmPrimType::Short);
  RegResampler::setUniformCoords(target, source, nullptr);
  // x: 2 voxels of 4 about 3; y: one voxel of 6, which counts as its extent; z: unchanged.
  EXPECT_EQ(boxOf(*target), NmBox3f(1, 5, 9, 15, 5, 8));
  const float fractional[3] = {1.5f, 3, 4};
  RegResampler::setUniformCoords(target, source, fractional);
  const NmBox3f box = boxOf(*target);
  EXPECT_FLOAT_EQ(box.xmax - box.xmin, 2.0f * 4.0f / 1.5f);
  EXPECT_EQ(box.ymax, 14.0f);
  EXPECT_EQ(box.zmin, 5.75f);
  // One voxel of 4 about 12 becomes two of 2.
  const float doubled[3] = {1, 2, 1};
  const NmHandle<VlMemoryData> single = makeVolume({1, 1, 1}, NmPrimType::Short);
  single->setBoundingBox({0, 6, 10, 14, 5, 8});
  const NmHandle<VlMemoryData> pair = makeVolume({1, 2, 1}, NmPrimType::Short);
  RegResampler::setUniformCoords(pair, single, doubled);
  EXPECT_EQ(boxOf(*pair), NmBox3f(0, 6, 11, 13, 5, 8));
}

TEST(CreateVlData, GivesNullForWhatIsNoVolume) {
  int dims[3] = {2, 3, 4};
  EXPECT_EQ(RegResampler::createVlData(dims, NmPrimType::Float, 2)->dims(), NmVec3l(2, 3, 4));
  EXPECT_EQ(RegResampler::createVlData(dims, NmPrimType(5), 2), nullptr);
  EXPECT_EQ(RegResampler::createVlData(nullptr, NmPrimType::Float, 2), nullptr);
  dims[1] = 0;
  EXPECT_EQ(RegResampler::createVlData(dims, NmPrimType::Float, 2), nullptr);
}

TEST(DoResample, EndsCleanAndSilentWhereverMemoryRunsOut) {
  const LogCapture log;
  for (const auto filter : {RegResampler::Box, RegResampler::Bell, RegResampler::Maximum}) {
    const NmHandle<VlMemoryData> source = smallVolume(NmPrimType::Short, 2);
    source->lock(false);  // keeps the room in which it notes its readers
    bool wasRefused = false, hadNoTarget = false, ranOut = false;
    NmHandle<VlData> result;
    const long attempts = failEachAllocation(
        [&] {
          try {
            wasRefused |= !resample(source, result, {2, 2, 1}, filter);
          } catch (const std::logic_error& error) {
            hadNoTarget = error.what() == std::string("in createVlData()");
          }
        },
        [&](bool hasFailed, bool threw) {
          ranOut |= threw;
          EXPECT_EQ(result == nullptr, hasFailed);
          result = nullptr;
          EXPECT_TRUE(isUnlocked(source));
        });
    if (attempts == 0) return;
    EXPECT_TRUE(hadNoTarget && ranOut);
    EXPECT_EQ(wasRefused, filter != RegResampler::Maximum);
  }
  EXPECT_TRUE(log.errors.empty());
}

}  // namespace
