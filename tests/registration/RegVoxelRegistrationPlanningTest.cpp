#include <cmath>
#include <limits>

#include "tests/registration/registrationFixture.h"

namespace {

using Registration = RegVoxelRegistration;

NmVec3i axesOf(const NmVec3f& size, int flatAxis) {
  Volumes reference = listOf({emptyVolume({3, 3, 1}, size)});
  Volumes none;
  NmVec3f delta;
  NmVec3i axes;
  Registration::getMinDelta(reference, none, delta, axes, 0, flatAxis);
  EXPECT_EQ(delta, size);
  return axes;
}

TEST(GetMinDelta, OrdersTheAxesByVoxelSize) {
  EXPECT_EQ(axesOf({3, 2, 1}, 3), NmVec3i(2, 1, 0));
  EXPECT_EQ(axesOf({3, 1, 2}, 3), NmVec3i(1, 2, 0));
  EXPECT_EQ(axesOf({2, 3, 1}, 3), NmVec3i(2, 0, 1));
  EXPECT_EQ(axesOf({1, 3, 2}, 3), NmVec3i(0, 2, 1));
  EXPECT_EQ(axesOf({2, 1, 3}, 3), NmVec3i(1, 0, 2));
  EXPECT_EQ(axesOf({1, 2, 3}, -1), NmVec3i(0, 1, 2));
  EXPECT_EQ(axesOf({1, 1, 1}, 3), NmVec3i(1, 2, 0));  // the first of equals is both
  EXPECT_EQ(axesOf({3, 2, 1}, 2), NmVec3i(1, 0, 2));
  EXPECT_EQ(axesOf({1, 2, 3}, 1), NmVec3i(0, 2, 1));
  EXPECT_EQ(axesOf({0, 0, 0}, 3), NmVec3i(0, 1, 2));  // no size is above 0
  EXPECT_EQ(axesOf({0, 0, -1}, 3), NmVec3i(1, 0, 2));
}

TEST(GetMinDelta, TakesTheVolumeThatIsAskedFor) {
  const auto sized = [](float size) { return emptyVolume({3, 3, 3}, {size, size, size}); };
  Volumes reference = listOf({sized(1), sized(2)});
  Volumes model = listOf({sized(3)});
  Volumes none;
  NmVec3f delta;
  NmVec3i axes;
  const int least = std::numeric_limits<int>::min();
  for (const auto& [which, size] : {std::pair(0, 1.0f), {-1, 2.0f}, {least, 2.0f}, {1, 3.0f}}) {
    Registration::getMinDelta(reference, model, delta, axes, which, 3);
    EXPECT_EQ(delta.x, size) << which;
  }
  Registration::getMinDelta(none, none, delta, axes, 0, 3);
  EXPECT_EQ(delta, NmVec3f());
}

TEST(FindIsotropicSampling, RoundsGeometrically) {
  const auto along = [](float target, float delta, int base, int limit) {
    const NmVec3i found = Registration::findIsotropicSampling(target, {delta, 1.0f, 0.0f},
                                                              {base, 7, -4}, {limit, 0, -1});
    EXPECT_EQ(found.z, 1);
    return found.x;
  };
  EXPECT_EQ(along(1.4f, 1.0f, 9, 0), 1);
  EXPECT_EQ(along(1.5f, 1.0f, 9, 0), 2);
  EXPECT_EQ(along(2.0f, 3.0f, 9, 0), 1);
  EXPECT_EQ(along(0.0f, 1.0f, 9, 0), 9);
  EXPECT_EQ(along(NAN, 1.0f, 0, 0), 1);
  EXPECT_EQ(along(6.0f, 0.0f, 9, 4), 4);
  EXPECT_EQ(along(6.0f, 1.0f, 9, -4), 6);
  EXPECT_EQ(along(INFINITY, 1.0f, 9, 5), 5);
  EXPECT_EQ(along(1e20f, 1.0f, 9, 0), std::numeric_limits<int>::max());
}

TEST(GetSamplingModel, FollowsTheSmallerVoxelSizeInThePlane) {
  const auto sampling = [](const NmVec3i& factors, int flatAxis) {
    return Registration::getSamplingModel(factors, {1.0f, 2.0f, 9.0f}, {0.5f, 1.0f, 2.0f},
                                          flatAxis);
  };
  EXPECT_EQ(sampling({4, 4, 1}, 3), NmVec3i(8, 4, 2));
  EXPECT_EQ(sampling({4, 4, 1}, -1), NmVec3i(8, 4, 2));
  EXPECT_EQ(sampling({4, 1, 8}, 1), NmVec3i(4, 1, 1));
}

TEST(RestrictCoarsestResampling, LeavesTwoVoxelsOnEveryAxis) {
  const auto restricted = [](const NmVec3i& reference, const NmVec3i& model, bool fixedLimit) {
    NmVec3i factors(100, 0, 100);
    Registration::restrictCoarsestResampling(reference, model, fixedLimit, factors);
    return factors;
  };
  EXPECT_EQ(restricted({10, 3, 8}, {10, 3, 8}, false), NmVec3i(5, 1, 4));
  EXPECT_EQ(restricted({10, 9, 8}, {0, 0, 0}, false), NmVec3i(5, 1, 4));
  EXPECT_EQ(restricted({10, 9, 8}, {4, 9, 30}, false), NmVec3i(2, 1, 4));
  EXPECT_EQ(restricted({10, 9, 8}, {10, 9, 1}, false), NmVec3i(5, 1, 1));
  EXPECT_EQ(restricted({10, 9, 8}, {0, 0, 0}, true), NmVec3i(16, 1, 16));
  EXPECT_EQ(restricted({99, 99, 1}, {99, 99, 40}, true), NmVec3i(16, 1, 16));
  NmVec3i factors(9, 9, 9);
  Registration::restrictCoarsestResampling(nullptr, nullptr, false, factors);
  EXPECT_EQ(factors, NmVec3i(9, 9, 9));
  Registration::restrictCoarsestResampling(emptyVolume({6, 5, 1}), nullptr, false, factors);
  EXPECT_EQ(factors, NmVec3i(3, 2, 1));
}

TEST(GetNumBins, DividesTheRangeIntoEqualWholeSteps) {
  const auto bins = [](float min, float max) { return Registration::getNumBins(min, max, true); };
  EXPECT_EQ(bins(0, 255), 255);
  EXPECT_EQ(bins(0, 10), 10);
  EXPECT_EQ(bins(0, 4095), 255);
  EXPECT_EQ(bins(-100.4f, 282.6f), 383);
  EXPECT_EQ(bins(0, 384), 192);
  EXPECT_EQ(bins(5, 5), 1);
  EXPECT_EQ(bins(5, -5), 1);
  EXPECT_EQ(bins(0.4f, 1.4f), 1);
  EXPECT_EQ(bins(-3e38f, 3e38f), 255);  // saturates at the limits of int
  EXPECT_EQ(bins(NAN, 10), 1);
  EXPECT_EQ(Registration::getNumBins(0.0f, 10.0f, false), 256);
}

TEST(Get2DOrientation, FindsTheFlatAxisOfEitherVolumeAndConflicts) {
  const auto orient = [](const NmVec3i& a, const NmVec3i& b) {
    return Registration::get2DOrientation(a, b);
  };
  EXPECT_EQ(orient({4, 4, 4}, {4, 4, 4}), 3);
  EXPECT_EQ(orient({4, 1, 4}, {4, 4, 4}), 1);
  EXPECT_EQ(orient({4, 4, 4}, {4, 4, 1}), 2);
  EXPECT_EQ(orient({1, 4, 4}, {1, 4, 4}), 0);
  EXPECT_EQ(orient({1, 4, 4}, {4, 1, 4}), -1);
  EXPECT_EQ(orient({1, 4, 1}, {4, 4, 4}), -1);
  EXPECT_EQ(orient({4, 4, 4}, {1, 1, 4}), -1);
  Volumes model = listOf({emptyVolume({4, 4, 4})});
  Volumes reference = listOf({model[0], emptyVolume({4, 1, 4})});
  Volumes none;
  EXPECT_EQ(Registration::get2DOrientation(reference, model, -5), 3);
  EXPECT_EQ(Registration::get2DOrientation(reference, model, 99), 1);
  EXPECT_EQ(Registration::get2DOrientation(none, model, 0), -1);
  EXPECT_EQ(Registration::get2DOrientation(reference, none, 0), -1);
  EXPECT_EQ(Registration::get2DOrientation(nullptr, model[0]), -1);
}

}  // namespace
