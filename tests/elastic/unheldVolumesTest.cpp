#include <gtest/gtest.h>

#include "elastic/RegElasticRegistration.h"
#include "registration/RegVoxelRegistration.h"
#include "resampling/RegVoxelEvaluator.h"
#include "tests/support/LogCapture.h"
#include "tests/support/volumes.h"
#include "transforms/RegNonAffineTransform.h"
#include "transforms/RegTools.h"

namespace {

using Elastic = RegElasticRegistration;

/// `b` has half of the voxels on each axis.
class UnheldVolumes : public testing::Test {
 protected:
  void SetUp() override {
    a.init({8, 8, 8}, NmPrimType::UnsignedShort, 1, true, true, true);
    b.init({4, 4, 4}, NmPrimType::UnsignedShort, 1, true, true, true);
  }
  void TearDown() override {
    EXPECT_TRUE(a.tryLock(true) && b.tryLock(true));
    EXPECT_TRUE(log.errors.empty());
  }

  LogCapture log;
  VlMemoryData a{nullptr}, b{nullptr};
};

TEST_F(UnheldVolumes, SurviveResampling) {
  NmHandle<VlData> result;
  EXPECT_TRUE(
      RegResampler().doResample(&a, result, {4, 3, 2}, nullptr, {}, RegResampler::Triangle, 0, 1));
  const float lengths[] = {4, 4, 4};
  for (const auto filter : {RegResampler::Box, RegResampler::Triangle, RegResampler::Maximum})
    EXPECT_TRUE(RegResampler{filter}.zoom3d(a, b, lengths, triangle_filter, 1, 1));
  RegResampler::setUniformCoords(&a, &b, nullptr);
  NmHandle<VlEvaluator> evaluator;
  for (const auto filter : {RegResampler::Lanczos3, RegResampler::Box}) {
    RegVoxelEvaluator(&a, filter).createEvalModel(evaluator);
    EXPECT_TRUE(evaluator);
  }
}

TEST_F(UnheldVolumes, SurviveQuestionsAboutThem) {
  EXPECT_EQ(RegTools::getBoundingBoxOrigin(&a), NmVec3f());
  EXPECT_EQ(RegTools::getBoundingBoxSize(&a), NmVec3f(7, 7, 7));
  const RegNonAffineTransform transform({{0, 7, 0, 7, 0, 7}, {2, 2, 2}, {}}, {2, 2, 2});
  EXPECT_EQ(transform.getROIofVertex(&a, 13), NmBox3i(0, 7, 0, 7, 0, 7));
  NmVec3i factors(1, 1, 1);
  EXPECT_EQ(RegVoxelRegistration::get2DOrientation(&a, &b), 3);
  RegVoxelRegistration::restrictCoarsestResampling(&a, &b, false, factors);
  int min = 0, max = 0;
  double total = 0;
  NmDArray<unsigned long> histogram;
  NmDArray<float> profile;
  EXPECT_TRUE(Elastic().getHistogram(&a, min, max, total, histogram));
  EXPECT_TRUE(Elastic().getCoronalProfile(&a, {1, 0}, {0, 1, 2}, false, 3, 3, 5, profile));
  EXPECT_TRUE(Elastic().applyMasking(&a, {1, 0}, {3, 3, 3}, {1, 1, 1}, 2, 3, Elastic::Image));
}

}  // namespace
