#include "variational/fields/localCorrelation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "variational/fields/foregroundMean.h"

namespace {

using namespace voxreg::detail;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

/// Windows summed voxel by voxel, in double precision.
struct Naive {
  NmVec3i dims;
  LocalCorrelation::Options options;
  std::vector<double> reference;
  std::vector<double> warped;
  std::vector<unsigned char> present;
  std::vector<unsigned char> counting;

  std::size_t at(int x, int y, int z) const {
    return static_cast<std::size_t>(x + dims.x * (y + dims.y * z));
  }

  template <class F>
  void forWindow(int x, int y, int z, const F& visit) const {
    const int r = options.radius;
    for (int k = std::max(z - r, 0); k <= std::min(z + r, dims.z - 1); ++k)
      for (int j = std::max(y - r, 0); j <= std::min(y + r, dims.y - 1); ++j)
        for (int i = std::max(x - r, 0); i <= std::min(x + r, dims.x - 1); ++i) visit(i, j, k);
  }

  double squaredCorrelation(int x, int y, int z) const {
    double n = 0.0;
    double r = 0.0;
    double m = 0.0;
    const auto forPresent = [&](const auto& visit) {
      forWindow(x, y, z, [&](int i, int j, int k) {
        if (present[at(i, j, k)] != 0) visit(reference[at(i, j, k)], warped[at(i, j, k)]);
      });
    };
    forPresent([&](double a, double b) {
      n += 1.0;
      r += a;
      m += b;
    });
    double vr = n * options.eps;
    double vm = n * options.eps;
    double c = 0.0;
    forPresent([&](double a, double b) {
      vr += (a - r / n) * (a - r / n);
      vm += (b - m / n) * (b - m / n);
      c += (a - r / n) * (b - m / n);
    });
    return c > 0.0 || options.anyContrast ? c * c / (vr * vm) : 0.0;
  }

  /// The sum over the counting windows that hold a voxel.
  double energyAround(int x, int y, int z) const {
    double sum = 0.0;
    forWindow(x, y, z, [&](int i, int j, int k) {
      if (counting[at(i, j, k)] != 0) sum += squaredCorrelation(i, j, k);
    });
    return sum;
  }

  double slope(int x, int y, int z, int axis) const {
    int low[3] = {x, y, z};
    int high[3] = {x, y, z};
    const auto isThere = [&](const int(&p)[3]) {
      return p[axis] >= 0 && p[axis] < dims[axis] && present[at(p[0], p[1], p[2])] != 0;
    };
    --low[axis];
    ++high[axis];
    if (!isThere(low)) ++low[axis];
    if (!isThere(high)) --high[axis];
    if (low[axis] == high[axis]) return 0.0;
    return (warped[at(high[0], high[1], high[2])] - warped[at(low[0], low[1], low[2])]) /
           (high[axis] - low[axis]);
  }

  double derivative(int x, int y, int z) {
    constexpr double h = 1e-4;
    double& value = warped[at(x, y, z)];
    const double before = value;
    value = before + h;
    const double above = energyAround(x, y, z);
    value = before - h;
    const double below = energyAround(x, y, z);
    value = before;
    return (above - below) / (2.0 * h);
  }
};

struct Scene {
  NmVec3i dims;
  LocalCorrelation::Options options;
  std::vector<float> reference;
  std::vector<float> warped;
  std::vector<unsigned char> counts;

  /// Noise around 1 in both volumes, half of it common to them.
  Scene(const NmVec3i& size, const LocalCorrelation::Options& chosen)
      : dims(size), options(chosen) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> noise(-0.4f, 0.4f);
    const auto count = static_cast<std::size_t>(size.x) * static_cast<std::size_t>(size.y) *
                       static_cast<std::size_t>(size.z);
    for (std::size_t i = 0; i < count; ++i) {
      const float common = 1.0f + noise(random);
      reference.push_back(common + 0.5f * noise(random));
      warped.push_back(0.7f * common + 0.5f * noise(random));
    }
  }

  /// Masks rows at the start, a wedge, and some voxels at random.
  Scene& mask() {
    counts.assign(reference.size(), 1);
    std::mt19937 random(3);
    for (std::size_t i = 0; i < counts.size(); ++i) {
      const auto x = static_cast<int>(i % static_cast<std::size_t>(dims.x));
      const auto row = static_cast<int>(i / static_cast<std::size_t>(dims.x));
      if (row < 3 || x + row % dims.y < dims.x / 2 || random() % 8 == 0) counts[i] = 0;
    }
    return *this;
  }

  Scene& makeSomeAbsent() {
    std::mt19937 random(5);
    for (std::size_t i = 0; i < reference.size(); i += random() % 23 + 1) {
      reference[i] = random() % 2 == 0 ? nan : reference[i];
      warped[i] = random() % 2 == 0 ? -std::numeric_limits<float>::infinity() : warped[i];
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(dims.x); i += 3) warped[i] = 3e38f;
    return *this;
  }

  Naive naive() const {
    Naive result = {dims, options, {}, {}, {}, {}};
    for (std::size_t i = 0; i < reference.size(); ++i) {
      const bool is = std::abs(reference[i]) < 1e6f && std::abs(warped[i]) < 1e6f;
      result.reference.push_back(is ? static_cast<double>(reference[i]) : 0.0);
      result.warped.push_back(is ? static_cast<double>(warped[i]) : 0.0);
      result.present.push_back(is ? 1 : 0);
      result.counting.push_back(is && (counts.empty() || counts[i] != 0) ? 1 : 0);
    }
    return result;
  }

  double evaluate(VoxelField* force,
                  const LocalCorrelationKernels& kernels = localCorrelationKernels()) const {
    return LocalCorrelation(reference, counts, dims, options, kernels).evaluate(warped, force);
  }
};

void expectNaive(const Scene& scene) {
  VoxelField force;
  const double value = scene.evaluate(&force);
  EXPECT_EQ(value, scene.evaluate(nullptr));
  Naive naive = scene.naive();
  double sum = 0.0;
  double counted = 0.0;
  for (int z = 0; z < scene.dims.z; ++z)
    for (int y = 0; y < scene.dims.y; ++y)
      for (int x = 0; x < scene.dims.x; ++x) {
        const std::size_t i = naive.at(x, y, z);
        const bool isCounting = naive.counting[i] != 0;
        const double derivative = isCounting ? naive.derivative(x, y, z) : 0.0;
        for (int axis = 0; axis < 3; ++axis)
          ASSERT_NEAR(force.along[axis][i], derivative * naive.slope(x, y, z, axis),
                      isCounting ? 2e-5 : 0.0)
              << "axis " << axis << " at " << x << ' ' << y << ' ' << z;
        if (!isCounting) continue;
        sum += naive.squaredCorrelation(x, y, z);
        counted += 1.0;
      }
  EXPECT_NEAR(value, counted > 0.0 ? sum / counted : 0.0, 5e-6);
}

TEST(LocalCorrelation, AgreesWithWindowsSummedOneByOne) {
  const LocalCorrelation::Options usual;
  const LocalCorrelation::Options any = {2, 0.004, true};
  const struct {
    const char* what;
    Scene scene;
  } cases[] = {
      {"usual", Scene({19, 9, 8}, usual)},
      {"more rows than a tile", Scene({5, 61, 4}, usual).mask()},
      {"masked", Scene({37, 9, 8}, usual).mask()},
      {"absent voxels", Scene({18, 9, 7}, usual).makeSomeAbsent()},
      {"masked, absent voxels", Scene({18, 9, 7}, any).mask().makeSomeAbsent()},
      {"any contrast", Scene({9, 8, 7}, any)},
      {"radius 1", Scene({9, 8, 7}, {1, 0.01, false}).mask()},
      {"radius 3, less slices than a window", Scene({9, 8, 3}, {3, 0.1, false})},
      {"radius 4", Scene({17, 5, 4}, {4, 0.004, true}).makeSomeAbsent()},
      {"flat along z", Scene({16, 9, 1}, usual).mask()},
      {"flat along y", Scene({33, 1, 5}, usual)},
      {"flat along x", Scene({1, 9, 7}, usual).makeSomeAbsent()},
      {"a row", Scene({9, 1, 1}, usual)},
      {"a voxel", Scene({1, 1, 1}, usual)},
  };
  for (const auto& [what, scene] : cases) {
    SCOPED_TRACE(what);
    expectNaive(scene);
  }
}

TEST(LocalCorrelation, HasTheSameBitsOnEveryInstructionSet) {
  for (const int radius : {1, 2, 3, 4}) {
    const Scene scene = Scene({75, 53, 12}, {radius, 0.004, false}).mask().makeSomeAbsent();
    VoxelField expected;
    const double value = scene.evaluate(&expected, portableLocalCorrelation);
    ASSERT_GT(value, 0.0);
    for (const InstructionSet set : instructionSets) {
      const LocalCorrelationKernels* const kernels = localCorrelationKernelsFor(set);
      if (kernels == nullptr) continue;
      SCOPED_TRACE("radius " + std::to_string(radius) + ", instruction set " +
                   std::to_string(static_cast<int>(set)));
      VoxelField found;
      EXPECT_EQ(scene.evaluate(&found, *kernels), value);
      for (int axis = 0; axis < 3; ++axis)
        EXPECT_EQ(std::memcmp(found.along[axis].data(), expected.along[axis].data(),
                              found.along[axis].size() * sizeof(float)),
                  0);
    }
  }
}

/// Air after slices of noise, where sums that are carried along would leave rounding errors.
TEST(LocalCorrelation, IsExactlyZeroInAir) {
  Scene scene({40, 30, 30}, {});
  for (std::size_t i = 0; i < scene.reference.size(); ++i) {
    const bool isAir = i % 40 > 17 || i / 40 % 30 > 16 || i / 1200 > 15;
    if (isAir) scene.reference[i] = scene.warped[i] = 0.0f;
  }
  VoxelField force;
  scene.evaluate(&force);
  std::size_t moved = 0;
  for (const std::vector<float>& along : force.along)
    for (std::size_t i = 0; i < along.size(); ++i) {
      const bool isFar = i % 40 > 18 || i / 40 % 30 > 17 || i / 1200 > 16;
      ASSERT_TRUE(!isFar || along[i] == 0.0f);
      if (along[i] != 0.0f) ++moved;
    }
  EXPECT_GT(moved, 10'000u);
}

TEST(LocalCorrelation, IsNoneWithoutStructureOrVoxels) {
  const auto filled = [](float reference, float warped) {
    Scene scene({9, 8, 7}, {2, 0.0, true});
    scene.reference.assign(scene.reference.size(), reference);
    scene.warped.assign(scene.warped.size(), warped);
    return scene;
  };
  Scene masked({9, 8, 7}, {});
  masked.counts.assign(masked.reference.size(), 0);
  for (const Scene& scene :
       {filled(0, 0), filled(1.37f, 0.61f), filled(nan, 1), filled(1, nan), masked}) {
    VoxelField force;
    force.along[1].assign(999, 5.0f);
    EXPECT_NEAR(scene.evaluate(&force), 0.0, 1e-4);
    for (const std::vector<float>& along : force.along)
      EXPECT_EQ(along, std::vector<float>(scene.reference.size()));
  }
}

TEST(ForegroundMean, LeavesAirOut) {
  std::vector<float> voxels(100, 0.0f);
  std::fill(voxels.begin() + 60, voxels.begin() + 80, 30.0f);
  std::fill(voxels.begin() + 80, voxels.begin() + 90, 60.0f);
  std::fill(voxels.begin() + 90, voxels.begin() + 94, 3.0f);
  std::fill(voxels.begin() + 94, voxels.end(), nan);
  voxels.back() = std::numeric_limits<float>::infinity();
  EXPECT_FLOAT_EQ(foregroundMean(voxels), 40.0f);
  EXPECT_TRUE(std::isnan(foregroundMean(std::vector<float>(100, 5.0f))));
  EXPECT_TRUE(std::isnan(foregroundMean({})));
}

}  // namespace
