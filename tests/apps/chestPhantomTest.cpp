#include <gtest/gtest.h>

#include <cmath>

#include "phantoms/chestVolumes.h"
#include "phantoms/solidShapes.h"
#include "tests/support/volumeValues.h"

namespace {

using host::ChestMotion;
using host::ChestPhantom;

double distance(const NmVec3d& a, const NmVec3d& b) {
  return host::length(host::difference(a, b));
}

/// Calls `visit` with points all over the box of the phantom.
template <class Visit>
void forPlaces(double step, const Visit& visit) {
  for (double z = -88; z <= 88; z += step)
    for (double y = -176; y <= 176; y += step)
      for (double x = -176; x <= 176; x += step) visit(NmVec3d(x, y, z));
}

TEST(ChestPhantomTest, theSeedsTellThePhantomAndTheNoise) {
  const NmVec3l dims(48, 40, 16);
  const auto voxels = [&](unsigned int seed, unsigned int noise) {
    const host::NiftiVolume volume = chestBefore(ChestPhantom(seed), dims, noise);
    return valuesOf(*volume.image.volume());
  };
  EXPECT_EQ(voxels(5, 1), voxels(5, 1));
  EXPECT_NE(voxels(5, 1), voxels(5, 2));
  EXPECT_NE(voxels(5, 1), voxels(6, 1));
}

class ChestMotionTest : public testing::TestWithParam<unsigned int> {};

TEST_P(ChestMotionTest, originUndoesMovedWithoutFolds) {
  const ChestPhantom phantom(GetParam());
  const ChestMotion motion(phantom, GetParam());
  forPlaces(16.0, [&](const NmVec3d& p) {
    EXPECT_LT(distance(motion.origin(motion.moved(p)), p), 0.002);
    const double h = 0.01;
    for (int a = 0; a < 3; ++a) {
      NmVec3d next = p;
      next[a] += h;
      const NmVec3d change = host::difference(motion.moved(next), motion.moved(p));
      NmVec3d step;
      step[a] = h;
      EXPECT_LT(distance(change, step), 0.5 * h)
          << "the displacement is too steep for a sure inverse";
    }
  });
}

TEST_P(ChestMotionTest, movesBreastsAndOrgansButNotTheWall) {
  const ChestPhantom phantom(GetParam());
  const ChestMotion motion(phantom, GetParam());
  double front = 0.0;
  double back = 0.0;
  forPlaces(8.0, [&](const NmVec3d& p) {
    const double travelled = distance(motion.moved(p), p);
    if (phantom.isInFront(p)) front = std::max(front, travelled);
    if (phantom.thorax().aboveWall(p) < -60.0) back = std::max(back, travelled);
    if (std::abs(p.x) > 120.0) return;
    const NmVec3d wall(p.x, phantom.thorax().wall(p.x, p.z), p.z);
    EXPECT_NEAR(distance(motion.moved(wall), wall), 0.0, 1e-6);
  });
  EXPECT_GT(front, 6.0);
  EXPECT_LT(front, 20.0);
  EXPECT_GT(back, 6.0);
}

TEST_P(ChestMotionTest, theLesionTakesUpContrastWhereTheMotionHasPutIt) {
  const ChestPhantom phantom(GetParam());
  const ChestMotion motion(phantom, GetParam());
  const NmVec3l dims(96, 96, 48);
  const host::NiftiVolume before = chestBefore(phantom, dims, 1);
  const host::NiftiVolume after = chestAfter(phantom, motion, dims, 2);
  const NmHandle<VlEvaluator> samplers[2] = {
      before.image.volume()->createEvaluator(VlData::Trilinear),
      after.image.volume()->createEvaluator(VlData::Trilinear)};
  const auto sample = [&](int i, const NmVec3d& p) {
    float value = 0.0f;
    EXPECT_TRUE(samplers[i]->setLocation(
        NmVec3f(static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z))));
    samplers[i]->value(&value);
    return value;
  };
  int places = 0;
  forPlaces(2.0, [&](const NmVec3d& p) {
    if (phantom.lesionDistance(p) > -3.0) return;
    EXPECT_GT(sample(1, motion.moved(p)) - sample(0, p), 300.0f);
    ++places;
  });
  EXPECT_GT(places, 5);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ChestMotionTest, testing::Values(1u, 2u, 3u));

}  // namespace
