#include "functional/RegFunctional.h"
#include "tests/registration/registrationFixture.h"
#include "tests/support/StoppingProgress.h"

namespace {

/// What a functional on the volumes at full resolution gives at the registration's present result.
double valueAtResult(RegVoxelRegistration& registration, bool isGrid) {
  registration.createTransform(isGrid, NmVec3i(2, 2, 2));
  const std::unique_ptr<RegFunctional> functional(
      registration.createFunctional(registration.reference, registration.model, 0, 0));
  return functional->evaluate();
}

class StoppedRun : public testing::TestWithParam<unsigned int> {};

// Rigid motions on two levels, both of full resolution, and a grid. The matrix is narrowed to
// single precision, the grid is not.
TEST_P(StoppedRun, ReturnsTheBestPointOfItsLastSearchWithItsValue) {
  const LogCapture quiet;
  for (const bool isGrid : {false, true})
    for (const unsigned int metric : {0u, 3u}) {
      StoppingProgress progress;
      Settings settings = {.progress = &progress,
                           .metricKind = metric,
                           .affineStages = {0, isGrid ? 0 : 1, 0, 0},
                           .nonAffineStages = {isGrid ? 20202 : 0, 0, 0},
                           .optimizerKind = GetParam()};
      const auto whole = settings.build();
      const double start = valueAtResult(*whole, isGrid);
      progress.polls = 0;
      ASSERT_TRUE(whole->compute(2));
      EXPECT_GT(whole->finalMetric, start + 0.01);
      const long polls = progress.polls;
      for (long stop = 0; stop < polls; stop += 1 + stop / 4) {
        SCOPED_TRACE(std::to_string(stop) + " of " + std::to_string(polls));
        progress.limit = stop;
        progress.polls = 0;
        const auto registration = settings.build();
        EXPECT_FALSE(registration->compute(2));
        if (registration->numEvaluations == 0) {
          EXPECT_EQ(registration->finalMetric, 0.0);
          EXPECT_NEAR(valueAtResult(*registration, isGrid), start, 1e-12);
          continue;
        }
        EXPECT_GE(registration->finalMetric, start - 1e-6);
        EXPECT_LE(registration->numEvaluations, whole->numEvaluations);
        EXPECT_NEAR(valueAtResult(*registration, isGrid), registration->finalMetric,
                    isGrid ? 1e-12 : 1e-5);
      }
    }
}

INSTANTIATE_TEST_SUITE_P(All, StoppedRun, testing::Values(0u, 1u, 2u, 3u, 4u));

}  // namespace
