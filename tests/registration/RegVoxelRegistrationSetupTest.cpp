#include "functional/RegFunctional.h"
#include "optimizers/RegAggressiveDirectionOptimizer.h"
#include "optimizers/RegBestDirectionOptimizer.h"
#include "optimizers/RegGradientOptimizer.h"
#include "tests/registration/registrationFixture.h"

namespace {

std::unique_ptr<RegVoxelRegistration> initialized(Settings settings) {
  auto registration = settings.build();
  EXPECT_NE(registration->initRegistration(), 0);
  return registration;
}

std::vector<int> scheduleOf(const NmVec4i& affine, const NmVec3i& nonAffine) {
  const auto registration = initialized({.affineStages = affine, .nonAffineStages = nonAffine});
  const NmDArray<int>& schedule = registration->dofSchedule;
  return {schedule.data, schedule.data + schedule.size};
}

TEST(InitRegistration, BuildsTheScheduleFromTheStages) {
  EXPECT_EQ(scheduleOf({1, 1, 0, 1}, {}), (std::vector<int>{3, 6, 12, -1}));
  EXPECT_EQ(scheduleOf({0, 0, 1, 0}, {20304, 0, 0}), (std::vector<int>{7, -1}));
  EXPECT_EQ(scheduleOf({}, {20304, 0, 323232}), (std::vector<int>{20304, 323232, -1}));
  EXPECT_EQ(scheduleOf({}, {-1, 12, 10101}), (std::vector<int>{12, 10101, -1}));
  EXPECT_EQ(scheduleOf({-1, 0, 0, 0}, {10101, 0, 0}), (std::vector<int>{3, -1}));
}

int orientationFor(int given, unsigned int mode, const NmVec3l& dims) {
  return initialized({.reference = listOf({emptyVolume(dims)}),
                      .orientation = given,
                      .dimensionMode = mode})
      ->orientation;
}

TEST(InitRegistration, DecidesAnOpenOrientation) {
  EXPECT_EQ(orientationFor(3, 0, NmVec3l(5, 4, 4)), 1);
  EXPECT_EQ(orientationFor(3, 0, NmVec3l(4, 4, 1)), 2);
  EXPECT_EQ(orientationFor(3, 1, NmVec3l(4, 4, 1)), 3);
  EXPECT_EQ(orientationFor(3, 2, NmVec3l(4, 4, 1)), 4);
  EXPECT_EQ(orientationFor(2, 0, NmVec3l(4, 5, 6)), 2);
}

TEST(InitRegistration, BuildsTheSearchOfEachKind) {
  const auto build = [](unsigned int kind) {
    return initialized({.orientation = 2, .optimizerKind = kind, .restrictedMotion = true});
  };
  const auto first = build(0), last = build(4);
  const auto& aggressive = dynamic_cast<RegAggressiveDirectionOptimizer&>(*first->optimizer);
  EXPECT_EQ(aggressive.stepReduction, 0.5f);
  EXPECT_EQ(aggressive.thresholdIncrement, 0.1f);
  EXPECT_EQ(aggressive.planeMode, 2);
  EXPECT_TRUE(aggressive.restrictedMotion);
  for (const unsigned int kind : {2u, 3u}) {
    const auto registration = build(kind);
    const auto& gradient = dynamic_cast<RegGradientOptimizer&>(*registration->optimizer);
    EXPECT_EQ(gradient.method, kind == 2 ? 2 : 1);
    EXPECT_EQ(gradient.tolerance, 0.001f);
    EXPECT_TRUE(gradient.restrictedMotion);
    EXPECT_EQ(gradient.callback, registration.get());
  }
  const auto& best = dynamic_cast<RegBestDirectionOptimizer&>(*last->optimizer);
  EXPECT_EQ(best.stepReduction, 0.5f);
  EXPECT_EQ(best.relativeTolerance, 1.0e-8f);
  EXPECT_FALSE(best.fitStepReduction);
}

TEST(InitRegistration, FreesWhatWasBuiltBefore) {
  Settings settings = {.calculateCoverage = true};
  const auto registration = initialized(settings);
  registration->dofIndex = 1;
  registration->maxCoverage = 0.25;
  ASSERT_NE(registration->initRegistration(), 0);
  EXPECT_EQ(registration->functionals->size, 2);
  EXPECT_EQ(registration->dofIndex, 0);
  EXPECT_EQ(registration->maxCoverage, 1.0);
  EXPECT_EQ(registration->dofSchedule.size, 2);
  EXPECT_FALSE(isUnlocked(settings.model[0]));
  registration->calculateCoverage = false;
  ASSERT_NE(registration->initRegistration(), 0);
  EXPECT_EQ(registration->maxCoverage, 0.0);
}

TEST(DoneRegistration, PopsPastNullFunctionals) {
  Settings settings;
  const auto registration = initialized(settings);
  registration->functionals->push(nullptr);
  registration->functionals->push(
      registration->createFunctional(settings.reference, settings.model, 0, 0));
  registration->functionals->push(nullptr);
  registration->doneRegistration();
  EXPECT_TRUE(isUnlocked(settings.reference[0]));
  EXPECT_TRUE(isUnlocked(settings.model[0]));
}

}  // namespace
