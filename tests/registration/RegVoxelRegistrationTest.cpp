#include "registration/RegVoxelRegistration.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <thread>

#include "foundation/NmException.h"
#include "foundation/NmMat4d.h"
#include "optimizers/RegGradientOptimizer.h"
#include "tests/registration/registrationFixture.h"
#include "transforms/RegAffineTransform.h"

namespace {

using Calls = std::vector<std::string>;

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
  Settings settings;
  RecordingProgress progress;
  settings.progress = &progress;
  LogCapture log;
  const auto registration = settings.build();
  EXPECT_EQ(registration->getProgressInterface(), &progress);
  EXPECT_TRUE(registration->compute(2));
  EXPECT_EQ(registration->matrix.m[3][0], 1.0f);
  EXPECT_NEAR(registration->finalMetric, 0.0, 1e-6);
  EXPECT_EQ(progress.calls,
            (Calls{"start 100 Starting registration", "Initializing",
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
  const auto quiet = [&](int mode, short busy, const std::function<void(Settings&)>& spoil) {
    Settings settings;
    spoil(settings);
    settings.progress = &progress;
    const auto registration = settings.build();
    registration->busy = busy;
    EXPECT_TRUE(registration->compute(mode));
    EXPECT_TRUE(progress.calls.empty());
    EXPECT_EQ(registration->busy, busy);
    EXPECT_EQ(registration->matrix.m[3][0], 0.0f);
  };
  const auto whole = [](Settings&) {};
  quiet(2, 1, whole);
  quiet(0, 0, whole);
  for (const Volumes& missing : {Volumes(), listOf({NmHandle<VlData>()})}) {
    quiet(2, 0, [&](Settings& s) { s.reference = missing; });
    quiet(2, 0, [&](Settings& s) { s.model = missing; });
  }
}

TEST(Compute, RefusesWhatItCanNotRunWithOneErrorLine) {
  const auto refused = [](const char* what, const std::function<void(Settings&)>& spoil) {
    Settings settings;
    spoil(settings);
    RecordingProgress progress;
    settings.progress = &progress;
    LogCapture log;
    const auto registration = settings.build();
    EXPECT_FALSE(registration->compute(2)) << what;
    EXPECT_EQ(log.errors.size(), 1u) << what;
    EXPECT_EQ(progress.calls.back(), "stop") << what;
    EXPECT_TRUE(sameBits(registration->matrix, NmMat4f())) << what;
    expectClean(*registration, settings);
    return log.error();
  };
  refused("orientation", [](Settings& s) { s.orientation = -1; });
  refused("flat on different axes", [](Settings& s) {
    s.reference = listOf({emptyVolume(NmVec3l(1, 4, 4))});
    s.model = listOf({emptyVolume(NmVec3l(4, 1, 4))});
  });
  refused("further reference", [](Settings& s) {
    s.reference = listOf({s.reference[0], NmHandle<VlData>()});
  });
  for (const float step : {0.0f, -1.0f, NAN, std::numeric_limits<float>::infinity()}) {
    refused("largest step", [&](Settings& s) { s.stepRange.x = step; });
    refused("smallest step", [&](Settings& s) { s.stepRange.y = step; });
  }
  for (const int code : {13, 404, 40004, 10100, 1000101, 2147483647})
    refused("grid", [&](Settings& s) {
      s.affineStages = NmVec4i();
      s.nonAffineStages = NmVec3i(10101, code, 0);
    });
  EXPECT_EQ(refused("stages", [](Settings& s) { s.affineStages = NmVec4i(); }),
            "Choose some class of registration!");
  refused("metric", [](Settings& s) { s.metricKind = 4; });
  refused("search", [](Settings& s) { s.optimizerKind = 5; });
  const NmHandle<VlData> pairs = makeVolume(NmVec3l(9, 9, 9), NmPrimType::Float, 2);
  refused("variables of the reference", [&](Settings& s) { s.reference = listOf({pairs}); });
  refused("variables of the model", [&](Settings& s) { s.model = listOf({pairs}); });
  refused("variables of a further reference", [&](Settings& s) {
    s.reference = listOf({s.reference[0], pairs});
  });
  refused("larger further reference", [](Settings& s) {
    s.reference = listOf({s.reference[0], makeVolume(NmVec3l(9, 9, 9), NmPrimType::Double)});
  });
  // Of as many voxels as the first, but of more once each axis is halved and rounded up.
  refused("further reference that is larger on a coarse level", [](Settings& s) {
    s.reference = listOf({emptyVolume(NmVec3l(8, 8, 8)), emptyVolume(NmVec3l(3, 3, 56))});
    s.coarsest = NmVec3i(2, 2, 2);
  });
}

TEST(Compute, RefusesAResultThatIsNotFiniteAndKeepsTheStart) {
  for (const bool isGrid : {false, true}) {
    Settings settings;
    settings.model = listOf({makeVolume(NmVec3l(9, 9, 9), [](double, double, double) {
      return std::numeric_limits<double>::quiet_NaN();
    })});
    settings.affineStages = NmVec4i(isGrid ? 0 : 1, 0, 0, 0);
    settings.nonAffineStages = NmVec3i(isGrid ? 20202 : 0, 0, 0);
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
    Settings settings;
    settings.numGradientLevels = count;
    RecordingProgress progress;
    settings.progress = &progress;
    const auto registration = settings.build();
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
    Settings settings;
    settings.rethrow = rethrow;
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
  Settings settings;
  settings.progress = &progress;
  const auto registration = settings.build();
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
  Settings settings;
  settings.affineStages = NmVec4i();
  settings.nonAffineStages = NmVec3i(20301, 0, 0);
  settings.reference = settings.model = listOf({emptyVolume(NmVec3l(9, 5, 1))});
  settings.reference[0]->setBoundingBox(NmBox3f(1.0f, 9.0f, -2.0f, 4.0f, 3.0f, 3.0f));
  RecordingProgress progress;
  settings.progress = &progress;
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

// Blobs of different width and height, in a cube of 32.
double blobs(double x, double y, double z) {
  const double centres[][5] = {
      {10, 12, 14, 60, 5}, {21, 18, 11, 90, 4}, {14, 22, 21, 75, 6}, {20, 9, 21, 50, 3}};
  double sum = 0.0;
  for (const auto& c : centres) {
    const double distance = std::hypot(x - c[0], y - c[1], z - c[2]) / c[4];
    sum += c[3] * std::exp(-0.5 * distance * distance);
  }
  return sum;
}

/// About 7 degrees about an oblique axis through the middle of the cube, then a shift.
NmMat4d knownMotion() {
  NmMat4d motion;
  motion.setTransform({1.7f, -2.3f, 0.9f}, NmRotation(-0.035f, 0.01f, 0.052f, 1.0f), {1, 1, 1},
                      NmRotation(), {15.5f, 15.5f, 15.5f});
  return motion;
}

/// Volumes of which the second, moved by knownMotion, is the first.
Settings movedPair() {
  const NmMat4d toModel = knownMotion().inverse();
  Settings settings;
  settings.model = listOf({makeVolume(NmVec3l(32, 32, 32), blobs)});
  settings.reference = listOf({makeVolume(NmVec3l(32, 32, 32), [&](double x, double y, double z) {
    NmVec3d p;
    toModel.multVecMatrix(NmVec3d(x, y, z), p);
    return blobs(p.x, p.y, p.z);
  })});
  settings.affineStages = NmVec4i(0, 1, 0, 0);
  settings.stepRange = NmVec2f(2.0f, 0.01f);
  return settings;
}

/// The largest distance by which a registration of movedPair misses knownMotion at the cube's
/// corners.
double worstCornerError(Settings& settings) {
  NmMat4d found;
  found.setValue(resultOf(settings));
  double worst = 0.0;
  for (int corner = 0; corner < 8; ++corner) {
    const NmVec3d p(corner & 1 ? 31 : 0, corner & 2 ? 31 : 0, corner & 4 ? 31 : 0);
    NmVec3d a, b;
    knownMotion().multVecMatrix(p, a);
    found.multVecMatrix(p, b);
    worst = std::max(worst, std::hypot(a.x - b.x, a.y - b.y, a.z - b.z));
  }
  return worst;
}

// Anywhere in the cube; trilinear samples flatten blobs as narrow as these. Of three levels the
// finest one is not run.
TEST(Compute, RecoversAKnownRigidMotion) {
  const LogCapture log;
  Settings settings = movedPair();
  for (settings.metricKind = 0; settings.metricKind < 4; ++settings.metricKind)
    for (const int coarsest : {1, 2, 4}) {
      settings.coarsest = NmVec3i(coarsest, coarsest, coarsest);
      EXPECT_LT(worstCornerError(settings), coarsest == 4 ? 0.3 : 0.1)
          << settings.metricKind << " " << coarsest;
    }
  settings = movedPair();
  settings.gradientStep = 1.0e-6f;
  for (settings.optimizerKind = 0; settings.optimizerKind < 5; ++settings.optimizerKind)
    EXPECT_LT(worstCornerError(settings), 0.1) << "search " << settings.optimizerKind;
}

TEST(Compute, TwoThreadsOnTheSameVolumesGetTheBitsOfOne) {
  Settings settings = movedPair();
  settings.stepRange = NmVec2f(2.0f, 0.5f);
  const NmMat4f alone = resultOf(settings);
  NmMat4f results[2];
  std::thread other([&] { results[0] = resultOf(settings); });
  results[1] = resultOf(settings);
  other.join();
  for (const NmMat4f& result : results) EXPECT_TRUE(sameBits(result, alone));
}

}  // namespace
