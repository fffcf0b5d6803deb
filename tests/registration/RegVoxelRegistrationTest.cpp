#include "registration/RegVoxelRegistration.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <thread>

#include "foundation/NmException.h"
#include "optimizers/RegGradientOptimizer.h"
#include "tests/registration/registrationFixture.h"

namespace {

bool sameBits(const NmMat4f& a, const NmMat4f& b) {
  return std::memcmp(a.m, b.m, sizeof a.m) == 0;
}

NmMat4f resultOf(Settings settings) {
  settings.progress = nullptr;
  const auto registration = settings.build();
  EXPECT_TRUE(registration->compute(2));
  return registration->matrix;
}

void expectUnlocked(Settings& settings) {
  EXPECT_TRUE(isUnlocked(settings.reference[0]));
  EXPECT_TRUE(isUnlocked(settings.model[0]));
}

void expectClean(const RegVoxelRegistration& registration, Settings& settings) {
  EXPECT_EQ(registration.busy, 0);
  EXPECT_EQ(registration.transform, nullptr);
  EXPECT_EQ(registration.functionals, nullptr);
  EXPECT_EQ(registration.optimizer, nullptr);
  EXPECT_EQ(registration.dofSchedule.size, 0);
  expectUnlocked(settings);
}

TEST(Compute, MovesTheModelOntoTheReference) {
  RecordingProgress progress;
  Settings settings = {.progress = &progress};
  LogCapture log;
  const auto registration = settings.build();
  EXPECT_TRUE(registration->compute(2));
  EXPECT_EQ(registration->matrix.m[3][0], 1.0f);
  EXPECT_NEAR(registration->finalMetric, 0.0, 1e-6);
  EXPECT_EQ(progress.calls,
            (std::vector<std::string>{
                "start 100 Starting registration", "Initializing",
                "Registering at resolution level 1 out of 2 (DOF = 3)", "poll",
                "Registering at resolution level 2 out of 2 (DOF = 3)", "poll", "stop"}));
  ASSERT_EQ(log.lines.size(), 4u);
  EXPECT_EQ(log.lines[0], "Sampling reference to: (1, 1, 1), voxelSize (1.00, 1.00, 1.00)");
  EXPECT_EQ(log.lines[1], "num levels: 2, ignore 0 finest");
  for (const std::size_t i : {2u, 3u})
    EXPECT_EQ(log.lines[i].rfind("current trafo: translation 1.000 0.000 0.000   rotation ", 0),
              0u);
  EXPECT_TRUE(log.errors.empty());
  expectClean(*registration, settings);
  // A second run starts where the first has ended, so that it has nowhere to go.
  registration->stepRange = NmVec2f(0.25f, 0.25f);
  EXPECT_TRUE(registration->compute(2));
  EXPECT_EQ(registration->matrix.m[3][0], 1.0f);
}

TEST(Compute, DoesNothingWithoutModeVolumesOrLeisure) {
  RecordingProgress progress;
  const auto quiet = [&](Settings settings, int mode = 2, short busy = 0) {
    settings.progress = &progress;
    const auto registration = settings.build();
    registration->busy = busy;
    EXPECT_TRUE(registration->compute(mode));
    EXPECT_TRUE(progress.calls.empty());
    EXPECT_EQ(registration->busy, busy);
    EXPECT_EQ(registration->matrix.m[3][0], 0.0f);
  };
  quiet({}, 2, 1);
  quiet({}, 0);
  for (const Volumes& missing : {Volumes(), listOf({NmHandle<VlData>()})}) {
    quiet({.reference = missing});
    quiet({.model = missing});
  }
}

TEST(Compute, RefusesWhatItCanNotRunWithOneErrorLine) {
  const auto refused = [](const char* what, Settings settings) {
    RecordingProgress progress;
    settings.progress = &progress;
    LogCapture log;
    const auto registration = settings.build();
    EXPECT_FALSE(registration->compute(2)) << what;
    EXPECT_EQ(progress.calls.back(), "stop") << what;
    EXPECT_TRUE(sameBits(registration->matrix, NmMat4f())) << what;
    expectClean(*registration, settings);
    const std::string line = log.error();
    EXPECT_EQ(line.find("error lines"), std::string::npos) << what;
    return line;
  };
  refused("orientation", {.orientation = -1});
  refused("flat on different axes", {.reference = listOf({emptyVolume(NmVec3l(1, 4, 4))}),
                                     .model = listOf({emptyVolume(NmVec3l(4, 1, 4))})});
  for (const float step : {0.0f, -1.0f, NAN, std::numeric_limits<float>::infinity()}) {
    refused("largest step", {.stepRange = {step, 0.25f}});
    refused("smallest step", {.stepRange = {1.0f, step}});
  }
  for (const int code : {13, 404, 40004, 10100, 1000101, 2147483647})
    refused("grid", {.affineStages = {}, .nonAffineStages = {10101, code, 0}});
  EXPECT_EQ(refused("stages", {.affineStages = {}}), "Choose some class of registration!");
  refused("metric", {.metricKind = 4});
  refused("search", {.optimizerKind = 5});
  const NmHandle<VlData> ball = makeBall(4.0);
  const NmHandle<VlData> pairs = makeVolume(NmVec3l(9, 9, 9), NmPrimType::Float, 2);
  refused("variables of the reference", {.reference = listOf({pairs})});
  refused("variables of the model", {.model = listOf({pairs})});
  refused("no further reference", {.reference = listOf({ball, nullptr})});
  refused("variables of a further reference", {.reference = listOf({ball, pairs})});
  refused("larger further reference",
          {.reference = listOf({ball, makeVolume(NmVec3l(9, 9, 9), NmPrimType::Double)})});
  // Of as many voxels as the first, but of more once each axis is halved and rounded up.
  refused("further reference that is larger on a coarse level",
          {.reference = listOf({emptyVolume(NmVec3l(8, 8, 8)), emptyVolume(NmVec3l(3, 3, 56))}),
           .coarsest = {2, 2, 2}});
}

TEST(Compute, RefusesAResultThatIsNotFiniteAndKeepsTheStart) {
  for (const bool isGrid : {false, true}) {
    const auto notANumber = [](double, double, double) { return std::nan(""); };
    Settings settings = {.model = listOf({makeVolume(NmVec3l(9, 9, 9), notANumber)}),
                         .affineStages = {isGrid ? 0 : 1, 0, 0, 0},
                         .nonAffineStages = {isGrid ? 20202 : 0, 0, 0}};
    LogCapture log;
    const auto registration = settings.build();
    registration->matrix.m[3][0] = 2.0f;
    EXPECT_FALSE(registration->compute(2));
    EXPECT_EQ(log.errors, std::vector<std::string>{"compute: The result is not finite."});
    EXPECT_EQ(registration->matrix.m[3][0], 2.0f);
    EXPECT_EQ(registration->nonAffineResult.vertices.size, 0);
    expectClean(*registration, settings);
  }
}

// The coarsest level never is.
TEST(Compute, SearchesTheFinestLevelsByGradient) {
  for (const int count : {std::numeric_limits<int>::min(), 0, 1, 9}) {
    RecordingProgress progress;
    const auto registration = Settings{.progress = &progress, .numGradientLevels = count}.build();
    std::vector<float> tolerances;
    progress.onCall = [&] {
      if (progress.calls.back() != "poll") return;
      const auto* gradient = dynamic_cast<RegGradientOptimizer*>(registration->optimizer);
      tolerances.push_back(gradient == nullptr ? 0.0f : gradient->tolerance);
    };
    EXPECT_TRUE(registration->compute(2));
    EXPECT_EQ(tolerances.front(), 0.0f);
    EXPECT_EQ(tolerances.back(), count > 0 ? 0.001f : 0.0f) << count;
  }
}

/// Runs with a progress object that throws at its k-th call, for every k up to the last.
template <class Exception>
void throwAtEveryCall(Settings& settings,
                      const std::function<void(RegVoxelRegistration&, RecordingProgress&)>& run) {
  RecordingProgress calm;
  settings.progress = &calm;
  settings.build()->compute(2);
  ASSERT_GE(calm.calls.size(), 5u);
  for (std::size_t k = 1; k <= calm.calls.size(); ++k) {
    RecordingProgress progress;
    settings.progress = &progress;
    progress.onCall = [&] {
      if (progress.calls.size() == k) throw Exception("no more");
    };
    const auto registration = settings.build();
    run(*registration, progress);
  }
}

TEST(Compute, AnNmExceptionEndsTheRunAndTheNextStartsAfresh) {
  for (const bool rethrow : {false, true}) {
    Settings settings = {.rethrow = rethrow};
    const NmMat4f expected = resultOf(settings);
    throwAtEveryCall<NmException>(
        settings, [&](RegVoxelRegistration& registration, RecordingProgress& progress) {
          if (rethrow)
            EXPECT_THROW(registration.compute(2), NmException);
          else
            EXPECT_TRUE(registration.compute(2));
          EXPECT_EQ(registration.busy, 0);
          EXPECT_EQ(progress.calls.back(), "stop");
          expectUnlocked(settings);
          progress.onCall = nullptr;
          // Where a broken run has come to is neither a result nor a start.
          EXPECT_TRUE(rethrow || registration.compute(0));
          EXPECT_TRUE(sameBits(registration.matrix, NmMat4f()));
          EXPECT_TRUE(registration.compute(2));
          EXPECT_TRUE(sameBits(registration.matrix, expected));
          expectClean(registration, settings);
        });
  }
}

// stopWorking throws again while the first exception is being dealt with.
TEST(Compute, IsFreeAgainEvenIfTheProgressObjectThrowsTwice) {
  RecordingProgress progress;
  progress.onCall = [] { throw NmException("no more"); };
  const auto registration = Settings{.progress = &progress}.build();
  EXPECT_THROW(registration->compute(2), NmException);
  EXPECT_EQ(registration->busy, 0);
}

TEST(Compute, AnyOtherExceptionPassesAndLeavesTheObjectBusy) {
  Settings settings;
  const auto run = [](RegVoxelRegistration& registration, RecordingProgress&) {
    EXPECT_THROW(registration.compute(2), std::runtime_error);
    EXPECT_NE(registration.busy, 0);
    EXPECT_TRUE(registration.compute(2));
    EXPECT_TRUE(sameBits(registration.matrix, NmMat4f()));
  };
  throwAtEveryCall<std::runtime_error>(settings, run);
  expectUnlocked(settings);
}

TEST(Compute, ANonAffineRunStartsFromTheReferencesBox) {
  const Volumes flat = listOf({emptyVolume(NmVec3l(9, 5, 1))});
  flat[0]->setBoundingBox(NmBox3f(1.0f, 9.0f, -2.0f, 4.0f, 3.0f, 3.0f));
  RecordingProgress progress;
  Settings settings = {.reference = flat,
                       .model = flat,
                       .progress = &progress,
                       .affineStages = {},
                       .nonAffineStages = {20301, 0, 0}};
  const auto registration = settings.build();
  EXPECT_TRUE(registration->compute(2));
  const auto& result = registration->nonAffineResult;
  EXPECT_EQ(result.box, NmBox3f(1.0f, 9.0f, -2.0f, 4.0f, 2.5f, 3.5f));
  EXPECT_EQ(result.numBricks, NmVec3i(2, 3, 1));
  ASSERT_EQ(result.vertices.size, 3 * 3 * 4 * 2);
  EXPECT_EQ(result.vertices[result.vertices.size - 3], 9.0);
  EXPECT_EQ(progress.calls[2], "Registering at resolution level 1 out of 1 (DOF = 72)");
  EXPECT_TRUE(sameBits(registration->matrix, NmMat4f()));
  expectClean(*registration, settings);
}

TEST(Compute, TwoThreadsOnTheSameVolumesGetTheBitsOfOne) {
  Settings settings = {.metricKind = 0, .affineStages = {0, 1, 0, 0}};
  const NmMat4f alone = resultOf(settings);
  NmMat4f results[2];
  std::thread other([&] { results[0] = resultOf(settings); });
  results[1] = resultOf(settings);
  other.join();
  for (const NmMat4f& result : results) EXPECT_TRUE(sameBits(result, alone));
}

}  // namespace
