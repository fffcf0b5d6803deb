#include "functional/RegFunctional.h"
#include "registration/levelSteps.h"
#include "tests/registration/registrationFixture.h"
#include "transforms/RegAffineTransform.h"

namespace {

using voxreg::detail::LevelSteps;
using Runs = std::vector<RecordingOptimizer::Run>;

void expectSteps(LevelSteps steps, std::initializer_list<NmVec2f> expected) {
  for (const NmVec2f& level : expected) {
    EXPECT_FLOAT_EQ(steps.max, level.x);
    EXPECT_FLOAT_EQ(steps.min, level.y);
    steps.advance();
  }
}

TEST(LevelSteps, ShrinkFromLevelToLevelWhereTheRangeHasRoom) {
  expectSteps(LevelSteps(NmVec2f(8, 1), 2, 2), {{8, 2}, {4.8f, 1}});
  expectSteps(LevelSteps(NmVec2f(100, 1), 2, 4),
              {{100, 4}, {60, 3}, {33, 2}, {16.5f, 1}});  // 0.6, 0.55, 0.5
  expectSteps(LevelSteps(NmVec2f(2, 1), 2, 2), {{2, 1}, {2, 1}});
  expectSteps(LevelSteps(NmVec2f(1, 2), 2, 2), {{1, 1}, {1, 1}});
  for (const auto& [largest, first] : {std::pair(2048.0f, 2.0f), {8.0f, 1.0f}}) {
    LevelSteps gradient(NmVec2f(largest, 1), 2, 2);
    gradient.startGradientSearch();
    EXPECT_EQ(gradient.max, first);
  }
}

/// A registration brought to the brink of a level, with a search that records.
struct Level {
  explicit Level(Settings given) : settings(std::move(given)), registration(settings.build()) {
    EXPECT_NE(registration->initRegistration(), 0);
    delete registration->optimizer;
    registration->optimizer = optimizer = new RecordingOptimizer(registration.get());
    functional = registration->functionals->pop();
    while (!registration->functionals->isEmpty()) delete registration->functionals->pop();
    optimizer->setFunctional(functional);
  }
  ~Level() { delete functional; }

  bool run(int level, int numLevels, int ignoreFinest) {
    const bool result =
        registration->doResolution(level, numLevels, ignoreFinest, functional, 2.0f, 0.5f);
    if (!result) functional = nullptr;
    return result;
  }

  Settings settings;
  std::unique_ptr<RegVoxelRegistration> registration;
  RecordingOptimizer* optimizer;
  RegFunctional* functional;
};

TEST(DoResolution, WalksTheScheduleAndCountsItsStages) {
  RecordingProgress progress;
  Level level({.progress = &progress, .affineStages = {1, 1, 0, 1}});
  EXPECT_TRUE(level.run(1, 4, 2));
  EXPECT_EQ(level.optimizer->runs,
            (Runs{{2.0f, 0.5f, 4, 3}, {2.0f, 0.5f, 5, 6}, {2.0f, 0.5f, 6, 12}}));
  EXPECT_EQ(level.optimizer->levelNumber, 2);
  EXPECT_EQ(level.optimizer->numLevels, 2);
  EXPECT_EQ(level.optimizer->numStages, 6);
  EXPECT_EQ(level.registration->dofIndex, 3);
  EXPECT_EQ(level.registration->finalMetric, 3.0);
  EXPECT_EQ(progress.calls[1], "Registering at resolution level 2 out of 2 (DOF = 3)");
  EXPECT_EQ(progress.calls[5], "Registering at resolution level 2 out of 2 (DOF = 12)");
}

// The search has moved the parameters without an evaluation behind it.
TEST(DoResolution, LeavesTheTransformWhereTheSearchEnded) {
  RecordingProgress progress;
  for (const bool interrupted : {false, true}) {
    Level level({.progress = &progress});
    progress.interrupted = interrupted;
    EXPECT_EQ(level.run(0, 1, 0), !interrupted);
    const auto* affine = dynamic_cast<RegAffineTransform*>(level.registration->transform);
    ASSERT_NE(affine, nullptr);
    EXPECT_EQ(affine->absoluteMatrix.m[3][0], 1.0);
    EXPECT_EQ(isUnlocked(level.settings.model[0]), interrupted);
    EXPECT_EQ(level.optimizer->functional == nullptr, interrupted);
    progress.interrupted = false;
  }
}

TEST(DoResolution, RunsGridsOnTheLastLevelOfARunOnly) {
  const int levels[][4] = {{0, 1, 0, 1}, {0, 2, 0, 0}, {1, 2, 0, 1}, {0, 3, 1, 0},
                           {1, 3, 1, 1}, {0, 4, 2, 0}, {1, 4, 2, 1}};
  for (const auto& [level, numLevels, ignoreFinest, runs] : levels) {
    Level run({.affineStages = {}, .nonAffineStages = {20304, 6, 0}});
    EXPECT_TRUE(run.run(level, numLevels, ignoreFinest));
    Runs expected = {{2.0f, 0.5f, 2 * level + 2, 6}};
    if (runs != 0) expected.insert(expected.begin(), {2.0f, 0.5f, 2 * level + 1, 180});
    EXPECT_EQ(run.optimizer->runs, expected) << level << " of " << numLevels;
    EXPECT_EQ(run.functional->transform, run.registration->transform);
    EXPECT_EQ(run.registration->dofIndex, 2);
  }
}

// The caption of a new transform tells what was asked for.
TEST(DoResolution, LimitsAGridToWhatATransformHolds) {
  RecordingProgress progress;
  Level level(
      {.progress = &progress, .affineStages = {}, .nonAffineStages = {330101, 19902, 400101}});
  EXPECT_TRUE(level.run(0, 1, 0));
  ASSERT_EQ(level.optimizer->runs.size(), 3u);
  const int held[] = {3 * 33 * 2 * 2, 3 * 2 * 33 * 3, 3 * 33 * 2 * 2};
  const int told[] = {3 * 34 * 2 * 2, held[1], held[2]};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(level.optimizer->runs[i].parameters, held[i]);
    EXPECT_EQ(progress.calls[1 + 2 * i],
              "Registering at resolution level 1 out of 1 (DOF = " + std::to_string(told[i]) + ")");
  }
}

TEST(DoResolution, SkipsAGridThatHasNoVertices) {
  Settings settings = {.affineStages = {}, .nonAffineStages = {10101, 0, 0}};
  // At 1e9 half a unit is below the spacing of floats, so that the flat axis stays flat.
  settings.reference[0]->setBoundingBox(NmBox3f(0, 8, 0, 8, 1.0e9f, 1.0e9f));
  Level level(settings);
  EXPECT_TRUE(level.run(0, 1, 0));
  EXPECT_TRUE(level.optimizer->runs.empty());
}

TEST(DoResolution, IsSafeWithoutScheduleAndOptimizer) {
  const auto registration = Settings().build();
  EXPECT_TRUE(registration->doResolution(0, 1, 0, nullptr, 1.0f, 1.0f));
  registration->dofIndex = 1000;
  registration->enterResolution(0, 1, 0);
  EXPECT_EQ(registration->dofIndex, 0);
  const int stages[] = {3, -1};
  registration->dofSchedule.insert(0, 2, stages);
  EXPECT_TRUE(registration->doResolution(0, 1, 0, nullptr, 1.0f, 1.0f));
  EXPECT_EQ(registration->dofIndex, 1);
  registration->dofIndex = -1;
  EXPECT_FALSE(registration->doneResolution(0, 0));
  EXPECT_TRUE(registration->doneResolution(0, 0));
  EXPECT_EQ(registration->dofIndex, 1);
}

}  // namespace
