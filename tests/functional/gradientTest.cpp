#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "foundation/voxels/volumeFrame.h"
#include "functional/RegOptimizerCallback.h"
#include "metrics/RegMeanSquaredDifference.h"
#include "metrics/RegSimpleMutualInformation.h"
#include "tests/functional/functionals.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/RecordingProgress.h"
#include "tests/support/grids.h"
#include "transforms/RegAffineTransform.h"

namespace {

struct Callback : RegOptimizerCallback {
  NmProgressInterface* progress = nullptr;
  NmProgressInterface* getProgressInterface() override { return progress; }
};

/// A texture of a few waves, its values between 0 and 200, shifted along x.
NmHandle<VlData> texture(const NmVec3l& dims, double shift) {
  return makeVolume(dims, [=](double x, double y, double z) {
    return 100 + 45 * std::sin(0.7 * (x + shift) + 0.3 * y) +
           50 * std::cos(0.5 * z + 0.9 * y - 0.2 * (x + shift));
  });
}

std::vector<double> copyOf(const NmDArray<double>& values) {
  return {values.data, values.data + values.size};
}

/// Reference and model of one texture, shifted by 0.4 voxels, and a functional on them.
struct Scene {
  NmVec3l dims;
  Volumes references = listOf({texture(dims, 0.0)});
  Volumes models = listOf({texture(dims, 0.4)});
  Callback callback;
  std::unique_ptr<RegParametricTransform> transform;
  std::unique_ptr<RegFunctional> functional;
  LogCapture log;
  double value = 0.0;

  explicit Scene(const NmVec3l& size = {17, 14, 12}) : dims(size) {}

  void useAffine(RegMetric* metric, int orientation = 3) {
    transform = std::make_unique<RegAffineTransform>(references, models[0], NmMat4f(), 12);
    build(metric, orientation);
  }

  /// A grid over the reference whose vertices have moved a little, too little for a penalty.
  RegNonAffineTransform& useGrid(const NmVec3i& bricks, RegMetric* metric, int orientation = 3) {
    return useGrid(bricks, metric, voxreg::detail::boxOf(*references[0]), orientation);
  }

  RegNonAffineTransform& useGrid(const NmVec3i& bricks, RegMetric* metric, const NmBox3f& box,
                                 int orientation = 3) {
    auto grid = std::make_unique<RegNonAffineTransform>(jittered(bricks, 0.1, box));
    RegNonAffineTransform& built = *grid;
    transform = std::move(grid);
    build(metric, orientation);
    return built;
  }

  NmDVector<double> gradient(float factor, int unconditional, int* numPenalised = nullptr) {
    NmDVector<double> g;
    g.resize(transform->getVariableParamVectorDim());
    for (long i = 0; i < g.size; ++i) g[i] = 77.0;
    value = functional->evaluateGradient(g, factor, unconditional, numPenalised);
    return g;
  }

  /// Difference of whole walks with one parameter moved to either side.
  double differenceAt(long i, double step) {
    const double saved = transform->params[i];
    transform->params[i] = saved + step;
    const double plus = functional->evaluate();
    transform->params[i] = saved - step;
    const double minus = functional->evaluate();
    transform->params[i] = saved;
    return plus - minus;
  }

 private:
  void build(RegMetric* metric, int orientation) {
    functional =
        makeFunctional(references, models, transform.get(), metric, &callback, orientation);
  }
};

// Box ends and brick faces are rounded to single precision.
TEST(GridWalk, AGridOverTheVolumesOwnBoxVisitsEveryVoxel) {
  const LogCapture quiet;
  for (const float spacing : {0.7f, 0.8f, 0.9375f, 1.1f, 1.2f, 1.3f})
    for (int n = 4; n <= 500; ++n) {
      const Volumes volumes = listOf({makeVolume({n, 1, 1}, NmPrimType::UnsignedChar)});
      const float end = spacing * static_cast<float>(n - 1);
      const NmBox3f box(7.3f, 7.3f + end, -0.5f, 0.5f, -0.5f, 0.5f);
      ASSERT_TRUE(volumes[0]->setBoundingBox(box).isOk());
      RegNonAffineTransform grid({box, {}, {}}, NmVec3i(7, 1, 1));
      const auto functional =
          makeFunctional(volumes, volumes, &grid, new RegMeanSquaredDifference(0.0, false));
      functional->evaluate();
      ASSERT_EQ(functional->metric->numTotalSamples, n) << spacing;
      EXPECT_EQ(grid.getROIofVertex(volumes[0], 0).xmin, 0) << spacing << " " << n;
      EXPECT_EQ(grid.getROIofVertex(volumes[0], 7).xmax, n - 1) << spacing << " " << n;
    }
}

/// A volume of cubic voxels and a grid over some of its voxels.
struct GridCase {
  NmVec3l dims;
  float spacing;
  NmVec3i bricks;
  NmVec3f first;  ///< voxel at the lower end of the grid's box; fractions lie between voxels
  NmVec3f last;
};

std::vector<GridCase> gridCases() {
  std::vector<GridCase> cases = {
      {{17, 14, 12}, 1.0f, {3, 3, 3}, {0, 0, 0}, {16, 13, 11}},
      {{30, 6, 6}, 1.0f, {1, 3, 3}, {8, 0, 0}, {20, 5, 5}},     // one brick, over a part
      {{18, 5, 5}, 0.9375f, {7, 1, 1}, {0, 0, 0}, {17, 4, 4}},  // outermost planes by rounding
      {{5, 17, 4}, 0.7f, {1, 9, 1}, {0, 0, 0}, {4, 16, 3}},
      {{4, 5, 32}, 1.0f, {1, 1, 7}, {0, 0, 0}, {3, 4, 31}},
      {{7, 6, 5}, 1.1f, {2, 2, 2}, {2.3f, 1, 1}, {2.6f, 4, 3}},  // no voxel in the box
      {{7, 6, 5}, 1.3f, {2, 2, 1}, {8.5f, -4, 0}, {12, 9, 4}},   // outside the volume
      {{6, 5, 4}, 0.8f, {9, 2, 3}, {-2, 1, 0.5f}, {3, 7, 3}}};   // bricks without voxels
  std::mt19937 random(12);
  const auto between = [&](int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
  };
  constexpr float spacings[] = {0.7f, 0.8f, 0.9375f, 1.0f, 1.1f, 1.2f, 1.3f};
  for (int n = 0; n < 40; ++n) {
    GridCase c;
    c.spacing = spacings[between(0, 6)];
    for (int axis = 0; axis < 3; ++axis) {
      c.dims[axis] = between(1, axis == n % 3 ? 20 : 7);
      const int top = static_cast<int>(c.dims[axis]) - 1;
      c.bricks[axis] = between(1, axis == n % 3 ? 9 : 3);
      c.first[axis] = n % 2 == 0 ? 0.0f : 0.25f * static_cast<float>(between(-4, 4 * top));
      c.last[axis] = n % 2 == 0
                         ? static_cast<float>(top)
                         : c.first[axis] + 0.25f * static_cast<float>(between(2, 4 * top + 8));
      if (!(c.last[axis] > c.first[axis])) c.last[axis] = c.first[axis] + 1.0f;
    }
    cases.push_back(c);
  }
  return cases;
}

TEST(Gradient, EqualsDifferencesOfWholeWalksOnAnyGrid) {
  int telling = 0;
  for (const GridCase& c : gridCases())
    for (const bool marginal : {true, false})
      for (RegMetric* const metric :
           {correlation(), information(), information<RegSimpleMutualInformation>(),
            static_cast<RegMetric*>(new RegMeanSquaredDifference(0.0, false))}) {
        Scene s(c.dims);
        const NmBox3f box = voxreg::detail::boxOf(*s.references[0]);
        // Several references are walked as a whole.
        if (!marginal) s.references = listOf({s.references[0], texture(s.dims, 0.1)});
        for (VlData* const volume :
             {s.references[0].get(), s.references[s.references.size - 1].get(), s.models[0].get()})
          volume->setBoundingBox(
              {0, c.spacing * box.xmax, 0, c.spacing * box.ymax, 0, c.spacing * box.zmax});
        const RegNonAffineTransform& grid =
            s.useGrid(c.bricks, metric,
                      {c.spacing * c.first.x, c.spacing * c.last.x, c.spacing * c.first.y,
                       c.spacing * c.last.y, c.spacing * c.first.z, c.spacing * c.last.z});
        const NmDVector<double> g = s.gradient(0.8f, 1);
        std::vector<double> expected;
        double largest = 0.0;
        for (long i = 0; i < g.size; ++i) {
          expected.push_back(s.differenceAt(i, 0.25f * 0.8f));
          largest = std::max(largest, std::fabs(expected.back()));
        }
        telling += largest > 1e-4 ? 1 : 0;
        for (long i = 0; i < g.size; ++i)
          EXPECT_NEAR(g[i], expected[static_cast<unsigned long>(i)],
                      1e-9 * largest + 1e-14 * std::fabs(s.value))
              << i << " of " << c.dims.x << " x " << c.dims.y << " x " << c.dims.z << " voxels of "
              << c.spacing << ", bricks " << grid.numBricks.x << " x " << grid.numBricks.y << " x "
              << grid.numBricks.z;
        for (const std::string& line : s.log.lines)
          EXPECT_TRUE(marginal || line.find("samples") == std::string::npos) << line;
      }
  EXPECT_GT(telling, 150) << "gradients that say something";
}

TEST(Gradient, AffineComponentsAreDifferencesOfWholeWalks) {
  Scene s;
  s.useAffine(correlation());
  NmVec3d size(16, 13, 11);
  const NmDVector<double> g = s.gradient(0.5f, 1);
  for (int i = 0; i < 12; ++i)
    EXPECT_EQ(g[i],
              s.differenceAt(i, static_cast<float>(s.transform->getParamStep(i, &size)) * 0.5f))
        << i;
}

TEST(Gradient, AComponentCountsOnlyWhereATrialBeatsThePresentValue) {
  Scene s;
  s.models = s.references;  // the identity is the best there is
  s.useAffine(new RegMeanSquaredDifference(1.0, false));
  EXPECT_EQ(copyOf(s.gradient(0.5f, 0)), std::vector<double>(12, 0.0));
  EXPECT_NE(copyOf(s.gradient(0.5f, 1)), std::vector<double>(12, 0.0));
}

TEST(Gradient, LeavesOutWhatLeavesThePlane) {
  Scene s;
  s.useAffine(correlation(), 1);
  const NmDVector<double> affine = s.gradient(0.5f, 1);
  for (const int i : {1, 3, 5, 7, 9, 11}) EXPECT_EQ(affine[i], 0.0) << i;
  for (const int i : {0, 2, 4}) EXPECT_NE(affine[i], 0.0) << i;
  s.useGrid({2, 2, 2}, correlation(), 2);
  const NmDVector<double> grid = s.gradient(0.5f, 1);
  for (long i = 0; i < grid.size; ++i) EXPECT_EQ(grid[i] == 0.0, i % 3 == 2) << i;
}

TEST(Gradient, VerticesAmongEmptyBricksAreNotTried) {
  Scene s;
  {
    const NmHandle<VlDataAccess> access = s.references[0]->lock(true);
    auto* voxel = static_cast<float*>(access->dataPtr(0));
    for (int v = 0; v < 17 * 14 * 12; ++v)
      if (v % 17 > 3) voxel[v] = -1.0f;  // out of range beyond the first of four bricks along x
  }
  s.useGrid({4, 2, 2}, correlation());
  const NmDVector<double> g = s.gradient(0.5f, 1);
  for (long i = 0; i < g.size; ++i) {
    const long column = i / 3 % 5;
    EXPECT_TRUE(column < 2 || g[i] == 0.0) << i;
    EXPECT_TRUE(column > 0 || i % 3 != 0 || g[i] != 0.0) << i;
  }
}

TEST(Gradient, PenalisedTrialsAreCounted) {
  Scene s;
  RegNonAffineTransform& grid = s.useGrid({2, 2, 2}, correlation());
  // While the present grid is free, a trial is penalised if the whole moved grid is.
  const auto isPenalised = [&](long i, double move) {
    double penalty, time;
    grid.params[i] += move;
    s.functional->evaluate(true, nullptr, -1, false, nullptr, nullptr, penalty, time);
    grid.params[i] -= move;
    return penalty > 0.0;
  };
  int expected = 0;
  int oneSided = 0;
  for (long i = 0; i < grid.params.size; ++i) {
    const bool plus = isPenalised(i, 1.25);
    const bool minus = isPenalised(i, -1.25);
    expected += plus || minus;
    oneSided += plus != minus;
  }
  int numPenalised = -1;
  s.gradient(5.0f, 1, &numPenalised);
  EXPECT_EQ(numPenalised, expected);
  EXPECT_GT(oneSided, 0);
  grid.params[0] += 3.0;  // squeezes the first brick
  s.gradient(0.1f, 1, &numPenalised);
  EXPECT_EQ(numPenalised, 24) << "each coordinate of the squeezed brick's eight vertices";
}

struct Thrown {};

TEST(Gradient, AnInterruptionOrExceptionAtAnyPollLeavesNoTrace) {
  for (const bool isGrid : {false, true}) {
    Scene s;
    RecordingProgress progress;
    s.callback.progress = &progress;
    long polls = 0, limit = 1L << 40;
    bool throws = false;
    progress.onCall = [&] {
      progress.interrupted = ++polls > limit;
      if (progress.interrupted && throws) throw Thrown();
    };
    RegNonAffineTransform* grid = nullptr;
    if (isGrid)
      grid = &s.useGrid({1, 1, 2}, correlation());
    else
      s.useAffine(correlation());
    const auto params = copyOf(s.transform->params);
    const auto coefficients = isGrid ? copyOf(grid->coefficients) : std::vector<double>();
    int numPenalised = -1;
    const auto gradient = copyOf(s.gradient(0.5f, 1, &numPenalised));
    EXPECT_EQ(numPenalised, 0);
    const long whole = polls;
    ASSERT_GT(whole, 24);
    EXPECT_EQ(s.value, s.functional->evaluate());
    for (int run = 0; run < 2; ++run, throws = true)
      for (limit = 0; limit < whole; ++limit) {
        polls = 0;
        if (throws) {
          EXPECT_THROW(s.gradient(0.5f, 1), Thrown) << limit;
        } else {
          const auto g = copyOf(s.gradient(0.5f, 1));
          EXPECT_EQ(g, std::vector<double>(g.size(), 0.0)) << limit;
        }
        EXPECT_EQ(copyOf(s.transform->params), params) << limit;
        EXPECT_TRUE(!isGrid || copyOf(grid->coefficients) == coefficients) << limit;
      }
    polls = 0;
    EXPECT_EQ(copyOf(s.gradient(0.5f, 1)), gradient);
    EXPECT_EQ(std::count(s.log.lines.begin(), s.log.lines.end(), "0.003 * 10^6 samples"), isGrid)
        << "17 * 14 * 12 voxels, once";
  }
}

// A walk takes one block for the rows that it works on: six trials and the box at each vertex.
TEST(Gradient, KeepsNothingAndAllocatesOncePerWalk) {
  if (!FailingAllocation::isServed()) GTEST_SKIP() << "the library's allocations are its own";
  Scene s;
  s.useGrid({5, 5, 5}, information());
  NmDVector<double> g = s.gradient(1.0f, 0);
  const long live = FailingAllocation::liveBlocks();
  for (int call = 0; call < 3; ++call) {
    const long before = FailingAllocation::allocations();
    s.functional->evaluateGradient(g, 1.0f, 0, nullptr);
    EXPECT_LE(FailingAllocation::allocations() - before, 7 * 6 * 6 * 6 + 10);
    EXPECT_EQ(FailingAllocation::liveBlocks(), live);
  }
}

TEST(Gradient, WhatCanNotBeDoneGivesZeroAndALine) {
  Scene s;
  s.useAffine(correlation());
  NmDVector<double> tooShort;
  tooShort.resize(11);
  int numPenalised = 5;
  EXPECT_EQ(s.functional->evaluateGradient(tooShort, 1.0f, 0, &numPenalised), 0.0);
  EXPECT_EQ(numPenalised, 0);
  EXPECT_NE(s.log.error().find("evaluateGradient: "), std::string::npos);
  dynamic_cast<RegAffineTransform&>(*s.transform).setDegreesOfFreedom(0);
  EXPECT_EQ(s.functional->evaluateGradient(tooShort, 1.0f, 0, nullptr), s.functional->evaluate())
      << "no free parameter, no component";
  s.functional->transform = nullptr;
  EXPECT_EQ(s.functional->evaluateGradient(tooShort, 1.0f, 0, nullptr), 0.0);
  EXPECT_NE(s.log.error().find("evaluateGradient: "), std::string::npos);
  // Without vertices there is a value, but no component.
  NmDVector<double> g;
  g.resize(24);
  RegNonAffineTransform& empty = s.useGrid({1, 1, 1}, correlation());
  empty.params.clear();
  std::fill_n(g.data, g.size, 77.0);
  EXPECT_EQ(s.functional->evaluateGradient(g, 1.0f, 0, nullptr), s.functional->evaluate());
  EXPECT_EQ(copyOf(g), std::vector<double>(24, 0.0));
  EXPECT_NE(s.log.error().find("0 of its 24 parameters"), std::string::npos);
  // An order set by the host, with vertices that the grid does not have.
  s.useGrid({1, 1, 1}, correlation());
  s.functional->renumbering.resize(8);
  for (long b = 0; b < 8; ++b) s.functional->renumbering[b] = b < 4 ? 1 << 29 : -1;
  EXPECT_EQ(copyOf(s.gradient(0.5f, 1)), std::vector<double>(24, 77.0));
}

}  // namespace
