#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "registration/RegVoxelRegistration.h"
#include "tests/registration/registrationFixture.h"

namespace {

double coverageOf(const NmBox3f& reference, const NmBox3f& model, int orientation) {
  Settings settings;
  settings.orientation = orientation;
  setBox(*settings.reference[0], reference);
  setBox(*settings.model[0], model);
  const auto registration = settings.build();
  registration->calculateMaxCoverage();
  return registration->maxCoverage;
}

TEST(CalculateMaxCoverage, IsTheShareOfTheReferenceThatTheModelCanCover) {
  const NmBox3f cube(0, 8, 0, 8, 0, 8);
  EXPECT_EQ(coverageOf(cube, cube, 3), 1.0);
  EXPECT_EQ(coverageOf(cube, NmBox3f(0, 4, 0, 8, 0, 8), 3), 0.5);
  EXPECT_EQ(coverageOf(cube, NmBox3f(0, 4, 0, 80, 0, 2), 4), 0.125);
  EXPECT_EQ(coverageOf(cube, NmBox3f(0, 4, 0, 8, 0, 2), 2), 0.5);
  EXPECT_EQ(coverageOf(cube, NmBox3f(8, 0, 0, 8, 8, 4), 3), 0.5);
  EXPECT_EQ(coverageOf(NmBox3f(0, 8, 0, 8, 1, 1), NmBox3f(0, 4, 0, 8, 1, 1), 2), 0.5);
  EXPECT_EQ(coverageOf(NmBox3f(0, 8, 0, 8, 1, 1), NmBox3f(0, 4, 0, 8, 1, 1), 3), 1.0);
}

/// Two data variables a voxel, of which the first runs 0, 1, 2, ... and the second is far out.
NmHandle<VlData> rampOfPairs(const NmVec3l& dims) {
  const NmHandle<VlMemoryData> volume(new VlMemoryData(nullptr));
  volume->init(dims, NmPrimType::Float, 2, true, true, true);
  const NmHandle<VlDataAccess> access = volume->lock(true);
  auto* voxel = static_cast<float*>(access->dataPtr(0));
  for (long i = 0; i < dims.x * dims.y * dims.z; ++i) {
    *voxel++ = static_cast<float>(i);
    *voxel++ = 1.0e6f;
  }
  return volume;
}

struct RangeCase {
  float min, max;
  bool restricted;
  double expected;
};

TEST(CalculateMaxCoverage, ForTheCorrelationRatioAlsoTheShareInRange) {
  const float notANumber = std::numeric_limits<float>::quiet_NaN();
  const RangeCase cases[] = {{0.0f, 5.0f, false, 0.25},  // 6 of 24, both ends inclusive
                             {6.0f, 23.0f, true, 0.75},
                             {0.0f, 100.0f, true, 1.0},
                             {notANumber, 5.0f, false, 0.0}};
  for (const RangeCase& range : cases) {
    Settings settings;
    settings.reference = listOf({rampOfPairs(NmVec3l(4, 3, 2))});
    settings.metricKind = 3;
    settings.minRef = range.min;
    settings.maxRef = range.max;
    settings.restrictedMotion = range.restricted;
    LogCapture log;
    const auto registration = settings.build();
    registration->calculateMaxCoverage();
    EXPECT_EQ(registration->maxCoverage, range.expected);
    const bool told = range.restricted && range.expected < 1.0;
    EXPECT_EQ(log.lines, told ? std::vector<std::string>{"max coverage (range): 0.750"}
                              : std::vector<std::string>{});
  }
}

/// A volume of 4 x 2 x 1 voxels of value 0, whose second row can't be read.
class HalfReadable : public VlData {
 public:
  NmPrimType primType() const override { return NmPrimType::Float; }
  int numDataVars() const override { return 1; }
  NmVec3l dims() const override { return {4, 2, 1}; }
  void boundingBox(NmBox3f& box) const override { box = NmBox3f(0, 8, 0, 8, 0, 8); }
  NmResult setBoundingBox(const NmBox3f&) override { return NmResult(false); }

 protected:
  class Access : public VlDataAccess {
    void* dataPtr(long) const override { return nullptr; }
    bool isContiguous() const override { return false; }
    bool isLinear() const override { return false; }
    NmResult row(long, long y, long, float* buffer) const override {
      for (int i = 0; i < 4; ++i) buffer[i] = 0.0f;
      return NmResult(y == 0);
    }
    NmResult putRow(long, long, long, const float*) const override { return NmResult(false); }
  };
  NmHandle<VlDataAccess> openAccess(bool) override { return new Access; }
};

TEST(CalculateMaxCoverage, CountsARowThatFailsAsInRange) {
  Settings settings;
  settings.reference = listOf({new HalfReadable});
  settings.metricKind = 3;
  settings.minRef = 1.0f;
  const auto registration = settings.build();
  registration->calculateMaxCoverage();
  EXPECT_EQ(registration->maxCoverage, 0.5);
}

}  // namespace
