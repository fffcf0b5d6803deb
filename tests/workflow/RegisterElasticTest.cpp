#include <voxreg.h>

#include <cmath>

#include "tests/support/LogCapture.h"
#include "tests/support/volumeValues.h"
#include "tests/workflow/rows.h"
#include "workflow/elastic/elasticGrids.h"
#include "workflow/elastic/elasticLattice.h"
#include "workflow/elastic/shortVolume.h"

namespace {

using voxreg::ElasticEngine;
using voxreg::Image;

struct Room {
  NmVec3i dims;
  NmVec3f voxelSize;
  int axis;
  int most;
  int bricks;  ///< that leave four voxels along each axis, on average
};

TEST(MostBricks, leavesEachBrickFourVoxelsAlongEachAxis) {
  const NmVec3f cubes(1, 1, 1);
  for (const Room& room : {
           Room{{3, 3, 3}, cubes, 0, 12, 0}, Room{{4, 4, 4}, cubes, 0, 12, 1},
           Room{{10, 10, 10}, cubes, 1, 12, 2}, Room{{16, 16, 16}, cubes, 2, 12, 4},
           Room{{24, 24, 8}, cubes, 0, 12, 6},       // 6 x 6 x 2
           Room{{6, 13, 13}, cubes, 0, 12, 1},       // 1 x 2 x 2
           Room{{48, 48, 12}, {1, 1, 4}, 0, 40, 7},  // 7 x 7 x 7
           Room{{256, 256, 64}, {1.4f, 1.4f, 2.8f}, 0, 40, 40},
           Room{{70, 512, 512}, cubes, 0, 12, 12},  // 12 x 32 x 32, the most that a grid holds
       })
    EXPECT_EQ(voxreg::detail::mostBricks(room.dims, room.voxelSize, room.axis, room.most),
              room.bricks)
        << room.dims.x << ' ' << room.dims.y << ' ' << room.dims.z;
}

TEST(ElasticGrids, growUpToTheMost) {
  const std::vector<std::vector<int>> expected = {{1}, {4, 5}, {4, 8}, {4, 8, 12}, {4, 8, 12, 20}};
  for (const std::vector<int>& counts : expected) {
    std::vector<int> bricks;
    for (const auto& grid : voxreg::detail::elasticGrids(counts.back()))
      bricks.push_back(grid.bricks);
    EXPECT_EQ(bricks, counts);
  }
}

template <class T>
void expectKept(T low, T high) {
  std::vector<T> values;
  for (int i = 0; i <= 16; ++i)
    values.push_back(static_cast<T>(low + (static_cast<double>(high) - low) * i / 16));
  const auto made = voxreg::detail::asUnsignedShort(rowOf(values));
  EXPECT_EQ(made.data->primType(), NmPrimType::UnsignedShort);
  const double range = static_cast<double>(high) - static_cast<double>(low);
  EXPECT_GE(static_cast<double>(made.unit) * range, 100.0);
  const std::vector<float> raw = valuesOf(*made.data);
  for (std::size_t i = 0; i < raw.size(); ++i)
    EXPECT_NEAR((raw[i] * made.rescale.x + made.rescale.y) / made.unit,
                static_cast<float>(values[i]), 1e-5 * range);
}

TEST(ShortVolume, keepsTheValuesInUnitsThatWholeNumbersResolve) {
  expectKept<unsigned short>(0, 65535);
  expectKept<unsigned char>(0, 255);
  expectKept<short>(-1024, 3071);
  expectKept<int>(-2000000, 2000000);
  expectKept<float>(0.0f, 0.016f);
  expectKept<double>(-1, 1);
}

/// Waves of 10 to 11 in voxels of 2 mm about the world's origin, `shift` voxels to the left.
Image waves(const NmVec3l& dims, double shift) {
  NmMat4d toWorld(2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1);
  for (int a = 0; a < 3; ++a) toWorld.m[3][a] = 1.0 - static_cast<double>(dims[a]);
  std::vector<float> voxels;
  for (long z = 0; z < dims.z; ++z)
    for (long y = 0; y < dims.y; ++y)
      for (long x = 0; x < dims.x; ++x) {
        const double p[] = {static_cast<double>(x) + shift, static_cast<double>(y),
                            static_cast<double>(z)};
        voxels.push_back(static_cast<float>(10.5 + 0.16 * (std::sin(0.7 * p[0]) +
                                                           std::sin(0.7 * p[1] + 0.4 * p[0] + 2) +
                                                           std::sin(0.7 * p[2] + 4))));
      }
  return Image::copy(voxels.data(), dims, toWorld);
}

/// Mean distance from 1.6 mm to the left that a map moves points of the inner half, in millimetres.
double errorOf(const voxreg::Transform& transform, const NmVec3l& dims) {
  double sum = 0.0;
  for (int i = -5; i <= 5; ++i)
    for (int j = -5; j <= 5; ++j) {
      const double x = 0.1 * i * static_cast<double>(dims.x);
      sum += transform(NmVec3d(x, 0.1 * j * static_cast<double>(dims.y), 0.0)).x - x;
    }
  return std::abs(sum / 121 + 1.6);
}

TEST(RegisterElastic, movesSmallVolumesInTheirOwnUnitsWithEitherEngine) {
  const LogCapture log;
  voxreg::ElasticOptions options;
  options.levels = {{10.0f, 10.05f}};
  for (const NmVec3l& dims : {NmVec3l(8, 14, 14), NmVec3l(16, 16, 16), NmVec3l(24, 24, 8),
                              NmVec3l(40, 30, 36), NmVec3l(66, 30, 4)}) {
    SCOPED_TRACE(testing::Message() << dims.x << ' ' << dims.y << ' ' << dims.z);
    const Image reference = waves(dims, 0.0);
    const Image model = waves(dims, 0.8);
    options.engine = ElasticEngine::bricks;
    const auto found = voxreg::registerElastic(reference, model, options);
    ASSERT_TRUE(found) << found.reason.message;
    EXPECT_FALSE(found.mask);
    const NmVec3i& n = found.transform.bricks()->grid.numBricks;
    EXPECT_LE(64L * n.x * n.y * n.z, dims.x * dims.y * dims.z);
    EXPECT_LT(errorOf(found.transform, dims), 0.4);

    options.engine = ElasticEngine::variational;
    const auto smooth = voxreg::registerElastic(reference, model, options);
    ASSERT_TRUE(smooth && smooth.transform.lattice() != nullptr) << smooth.reason.message;
    EXPECT_LT(errorOf(smooth.transform, dims), 0.4);
    EXPECT_GT(smooth.smallestJacobian, 0.0);
    EXPECT_NEAR(smooth.metricBefore.value(), found.metricBefore.value(), 1e-6);
    EXPECT_GT(smooth.metricAfter.value(), smooth.metricBefore.value());
  }
}

const NmVec3l cube(16, 16, 16);

voxreg::ElasticOptions variational() {
  voxreg::ElasticOptions options;
  options.engine = ElasticEngine::variational;
  return options;
}

TEST(RegisterElastic, leavesEqualVolumesWhereTheyAre) {
  const LogCapture log;
  const Image image = waves(cube, 0.0);
  const auto found = voxreg::registerElastic(image, image, variational());
  ASSERT_TRUE(found) << found.reason.message;
  const NmVec3d place(3.0, -4.0, 5.5);
  const NmVec3d there = found.transform(place);
  for (int a = 0; a < 3; ++a) EXPECT_NEAR(there[a], place[a], 0.001);
}

/// The waves with the lower half along y and the voxels of `mask` replaced.
Image spoilt(const voxreg::ChestMask& mask) {
  const Image image = waves(cube, 0.0);
  std::vector<float> voxels = valuesOf(*image.volume());
  std::size_t i = 0;
  for (int z = 0; z < 16; ++z)
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 16; ++x, ++i) {
        const auto along = [](int at) { return 2.0f * static_cast<float>(at) - 15.0f; };
        if (y < 4 || mask.holds({along(x), along(y), along(z)}))
          voxels[i] = 10.1f + 0.1f * static_cast<float>((x * y + z) % 8);
      }
  return Image::copy(voxels.data(), cube, image.voxelToWorld());
}

/// What a search on the waves finds from a reference with values of interest up to `high`.
std::vector<double> controlsFrom(const Image& reference, float high, const NmBox3i& roi,
                                 const std::optional<voxreg::ChestMask>& mask) {
  const Image model = waves(cube, 0.8);
  voxreg::detail::ElasticPair pair;
  pair.reference = voxreg::detail::asUnsignedShort(reference);
  pair.model = voxreg::detail::asUnsignedShort(model);
  const auto& [data, rescale, unit] = pair.reference;
  pair.referenceRange = NmVec2f(0.0f, (high * unit - rescale.y) / rescale.x);
  pair.roi = roi;
  pair.mask = mask;
  const voxreg::ProgressCallback nobody;
  voxreg::detail::SearchProgress progress({{"Registering", 1.0}}, nobody);
  voxreg::ElasticRegistration found;
  return voxreg::detail::searchElasticLattice(reference, model, pair, variational(), progress,
                                              found)
      .lattice.values;
}

TEST(ElasticLattice, doesNotSeeVoxelsOutsideTheRegionOrInsideTheMask) {
  const LogCapture log;
  const voxreg::ChestMask mask = {{0, 20, 0}, {1, 1, 1}, 10.0f, 14.0f};
  const NmBox3i roi(0, 15, 4, 15, 0, 15);
  const Image whole = waves(cube, 0.0);
  EXPECT_EQ(controlsFrom(spoilt(mask), 20, roi, mask), controlsFrom(whole, 20, roi, mask));
  EXPECT_NE(controlsFrom(spoilt(mask), 20, roi, {}), controlsFrom(whole, 20, roi, {}));
}

TEST(ElasticLattice, seesValuesBeyondTheRangeOnlyNextToIt) {
  const LogCapture log;
  const auto controls = [](float far, float near) {
    const Image image = waves(cube, 0.0);
    std::vector<float> voxels = valuesOf(*image.volume());
    for (std::size_t i = 0; i < voxels.size(); ++i) {
      const std::size_t y = i / 16 % 16;
      if (y < 4) voxels[i] = y < 3 ? far : near;
    }
    return controlsFrom(Image::copy(voxels.data(), cube, image.voxelToWorld()), 12, {}, {});
  };
  EXPECT_EQ(controls(13, 13), controls(14, 13));
  EXPECT_NE(controls(13, 13), controls(13, 14));
}

TEST(RegisterElastic, keepsTheBestLatticeWhereverItIsStopped) {
  const LogCapture log;
  const Image reference = waves(cube, 0.0);
  const Image model = waves(cube, 0.8);
  voxreg::ElasticOptions options = variational();
  double least = 0.0;
  bool wasStopped = true;
  for (int limit = 0; wasStopped; limit += 3) {
    int polls = 0;
    options.progress = [&](const voxreg::Progress&) { return polls++ < limit; };
    const auto found = voxreg::registerElastic(reference, model, options);
    ASSERT_TRUE(found) << found.reason.message;
    wasStopped = found.interrupted;
    EXPECT_LE(polls, limit + 1) << "nobody is asked again";
    ASSERT_NE(found.transform.lattice(), nullptr);
    EXPECT_TRUE(found.transform.lattice()->isValid());
    least = limit == 0 ? found.metricBefore.value() : least;
    EXPECT_GE(found.metricAfter.value_or(least), least);
    ASSERT_LT(limit, 1000);
  }
}

// Among few values that are nearly alike there is less correlation.
TEST(RegisterElastic, leavesOutWhatIsBelowTheLevelsInTheImagesUnits) {
  const LogCapture log;
  double metric[2];
  for (const int i : {0, 1}) {
    voxreg::ElasticOptions options;
    options.engine = ElasticEngine::bricks;
    options.levels = {{i == 0 ? 10.0f : 10.9f, 10.9f}};
    const auto found =
        voxreg::registerElastic(waves({16, 16, 16}, 0.0), waves({16, 16, 16}, 0.8), options);
    metric[i] = found.metricAfter.value();
  }
  EXPECT_LT(metric[1], metric[0] - 0.02);
}

}  // namespace
