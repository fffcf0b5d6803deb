#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "phantoms/chestVolumes.h"
#include "tests/support/LogCapture.h"
#include "workflow/bricks/elasticGrids.h"

namespace {

using host::NiftiVolume;
using voxreg::ElasticRegistration;
using voxreg::Masking;

struct Room {
  NmVec3i dims;
  NmVec3f voxelSize;
  int axis;
  int most;
  int bricks;  ///< that leave four voxels along each axis, on average
};

TEST(MostBricksTest, leavesEachBrickFourVoxelsAlongEachAxis) {
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

TEST(ElasticGridsTest, growUpToTheMost) {
  const auto bricks = [](int most) {
    std::vector<int> counts;
    for (const auto& grid : voxreg::detail::elasticGrids(most)) counts.push_back(grid.bricks);
    return counts;
  };
  EXPECT_EQ(bricks(1), std::vector<int>({1}));
  EXPECT_EQ(bricks(5), std::vector<int>({4, 5}));
  EXPECT_EQ(bricks(8), std::vector<int>({4, 8}));
  EXPECT_EQ(bricks(12), std::vector<int>({4, 8, 12}));
  EXPECT_EQ(bricks(20), std::vector<int>({4, 8, 12, 20}));
}

/// Waves within a ball in air, `shift` voxels to the left. 2 mm voxels.
NiftiVolume ball(const NmVec3l& dims, double shift) {
  NmVec3f edge;
  for (int a = 0; a < 3; ++a) edge[a] = static_cast<float>(dims[a] - 1);
  NiftiVolume volume = host::newVolume(
      dims, NmBox3f(-edge.x, edge.x, -edge.y, edge.y, -edge.z, edge.z), NmPrimType::UnsignedShort);
  const NmHandle<VlDataAccess> access = volume.image.volume()->lock(true);
  std::vector<float> row(static_cast<std::size_t>(dims.x));
  for (long z = 0; z < dims.z; ++z)
    for (long y = 0; y < dims.y; ++y) {
      for (long x = 0; x < dims.x; ++x) {
        const double place[] = {static_cast<double>(x) + shift, static_cast<double>(y),
                                static_cast<double>(z)};
        double level = 0.0;
        double value = 600.0;
        for (int a = 0; a < 3; ++a) {
          const double radius = 0.45 * static_cast<double>(dims[a]);
          const double fromMiddle = place[a] - 0.5 * static_cast<double>(dims[a] - 1);
          level += fromMiddle * fromMiddle / (radius * radius);
          value += 120.0 * std::sin(0.7 * place[a] + 2.0 * a);
        }
        row[static_cast<std::size_t>(x)] =
            static_cast<float>(value / (1.0 + std::exp(12.0 * (level - 1.0))));
      }
      (void)access->putRow(-1, y, z, row.data());
    }
  return volume;
}

/// Millimetres along x over the inner half of a volume.
double meanShift(const voxreg::Transform& transform, const NiftiVolume& volume) {
  double sum = 0.0;
  int places = 0;
  const auto edge = [&](int axis) {
    return 0.25 * static_cast<double>(volume.image.frame().box.extent(axis));
  };
  for (double x = -edge(0); x <= edge(0); x += 1.0)
    for (double y = -edge(1); y <= edge(1); y += 1.0) {
      sum += transform(NmVec3d(x, y, 0.0)).x - x;
      ++places;
    }
  return sum / places;
}

class ElasticRegistrationTest : public testing::Test {
 protected:
  ElasticRegistration run(const NiftiVolume& reference, const NiftiVolume& model,
                          const voxreg::ElasticOptions& options = {}) {
    return voxreg::registerElastic(reference.image, model.image, options);
  }

  LogCapture log;
};

TEST_F(ElasticRegistrationTest, registersSmallVolumesWithFewBricks) {
  for (const NmVec3l& dims : {NmVec3l(8, 14, 14), NmVec3l(16, 16, 16), NmVec3l(24, 24, 8),
                              NmVec3l(40, 30, 36), NmVec3l(66, 30, 4)}) {
    SCOPED_TRACE(testing::Message() << dims.x << ' ' << dims.y << ' ' << dims.z);
    const NiftiVolume reference = ball(dims, 0.0);
    const NiftiVolume model = ball(dims, 0.8);
    const ElasticRegistration result = run(reference, model);
    const NmVec3i& n = result.transform.bricks()->grid.numBricks;
    EXPECT_LE(64L * n.x * n.y * n.z, dims.x * dims.y * dims.z);
    EXPECT_NEAR(meanShift(result.transform, reference), -1.6, 0.4);
  }
}

TEST_F(ElasticRegistrationTest, refusesSlicesAndTooFewVoxels) {
  for (const NmVec3l& dims : {NmVec3l(3, 3, 3), NmVec3l(48, 48, 1)})
    EXPECT_EQ(run(ball(dims, 0.0), ball(dims, 0.3)).reason.kind, voxreg::Reason::Kind::badImage);
}

TEST_F(ElasticRegistrationTest, masksChestsAndWhatItIsAskedTo) {
  const NmVec3l dims(32, 32, 16);
  const host::ChestPhantom phantom(81);
  const host::ChestMotion motion(phantom, 81);
  const NiftiVolume before = chestBefore(phantom, dims, 1);
  const NiftiVolume after = chestAfter(phantom, motion, dims, 2);
  const NiftiVolume balls[] = {ball(NmVec3l(20, 20, 20), 0.0), ball(NmVec3l(20, 20, 20), 0.8)};
  const auto told = [&](const NiftiVolume& reference, const NiftiVolume& model, Masking masking) {
    voxreg::ElasticOptions options;
    options.masking = masking;
    const ElasticRegistration result = run(reference, model, options);
    EXPECT_EQ(result.mask.has_value(), result.chestWall.starts_with("masked")) << result.chestWall;
    return result.chestWall;
  };
  EXPECT_TRUE(told(before, after, Masking::chests).starts_with("masked: two lungs"));
  EXPECT_EQ(told(before, after, Masking::none), "not masked, as requested");
  EXPECT_EQ(told(balls[0], balls[1], Masking::chests),
            "not masked: there are no two lungs behind it");
  EXPECT_EQ(told(balls[0], balls[1], Masking::required), "masked, as requested");
}

}  // namespace
