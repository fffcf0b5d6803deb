#include <algorithm>
#include <cmath>
#include <vector>

#include "phantoms/Phantom.h"
#include "phantoms/chestVolumes.h"
#include "tests/apps/sharedData.h"
#include "tests/support/LogCapture.h"
#include "tests/support/volumes.h"
#include "workflow/chest/chestEvidence.h"
#include "workflow/chest/chestWall.h"
#include "workflow/elastic/shortVolume.h"

namespace {

using host::NiftiVolume;
using voxreg::ChestMask;
using voxreg::detail::BodyAxes;
using voxreg::detail::ChestVerdict;

/// Value at a point in millimetres to the left, to the back and to the head of the centre.
using Show = double (*)(double x, double y, double z);

/// The level of an ellipsoid's surface is 1.
double level(double x, double y, double z, double rx, double ry, double rz) {
  return (x * x) / (rx * rx) + (y * y) / (ry * ry) + (z * z) / (rz * rz);
}
double tube(double x, double y, double rx, double ry) {
  return level(x, y, 0, rx, ry, 1);
}

constexpr double fat = 1000.0;
constexpr double muscle = 360.0;
constexpr double lung = 60.0;

/// Skin and fat, a wall of muscle, and within it what is not lung. The front is at -80.
double trunk(double x, double y) {
  if (tube(x, y - 40, 165, 120) > 1) return 0;
  return tube(x, y - 40, 145, 100) > 1 ? fat : muscle;
}

double chest(double x, double y, double z) {
  const bool isLung = tube(std::abs(x) - 70, y - 45, 48, 72) < 1 && z > -70;
  return isLung ? lung : trunk(x, y);
}

/// The tips of the lungs below, or the lower ends of them above.
double shoulders(double x, double y, double z) {
  return z < -45 ? chest(x, y, 0) : trunk(x, y);
}

double oneLung(double x, double y, double z) {
  return x < 0 ? chest(x, y, z) : trunk(x, y);
}

/// Gas in the bowels, and arms at the sides, which leave air behind and between.
double abdomen(double x, double y, double z) {
  if (tube(std::abs(x) - 100, y, 22, 22) < 1 && z < 60) return 0;
  if (tube(std::abs(x) - 190, y - 30, 32, 40) < 1) return muscle;
  return 0.9 * trunk(x * 1.1, y);
}

double ball(double x, double y, double z) {
  return level(x, y, z, 90, 90, 90) < 1 ? 800 : 0;
}
double wideBall(double x, double y, double z) {
  return level(x, y - 60, z, 200, 140, 200) < 1 ? 800 : 0;
}
double cube(double x, double y, double z) {
  return std::max({std::abs(x), std::abs(y), std::abs(z)}) < 80 ? 800 : 0;
}
double twoBalls(double x, double y, double z) {
  return level(std::abs(x) - 75, y, z, 70, 70, 70) < 1 ? 800 : 0;
}

/// Scalp, bone, brain and its two ventricles.
double head(double x, double y, double z) {
  if (level(x, y, z, 80, 98, 100) > 1) return 0;
  if (level(x, y, z, 72, 90, 92) > 1) return fat;
  if (level(x, y, z, 65, 83, 85) > 1) return 20;
  return level(std::abs(x) - 15, y, z, 8, 40, 25) < 1 ? 90 : 500;
}

double legs(double x, double y, double) {
  const double across = std::abs(x) - 80;
  if (tube(across, y, 12, 12) < 1) return 700;  // marrow
  if (tube(across, y, 20, 20) < 1) return 20;   // bone
  return tube(across, y, 80, 80) < 1 ? muscle : 0;
}

double air(double, double, double) {
  return 0;
}

struct Scene {
  const char* name;
  Show show;
  double width;  ///< of the volume, millimetres
  double wall;   ///< where the mask ends on the middle line
  bool isChest;
};

void PrintTo(const Scene& scene, std::ostream* out) {
  *out << scene.name;
}

/// In voxels of 6 mm, and 9 mm along the body.
NmHandle<VlMemoryData> volumeOf(const Scene& scene, const BodyAxes& body) {
  const double lengths[] = {scene.width, 352, 176}, voxel[] = {6, 6, 9};
  NmVec3l dims;
  NmVec3f half;
  for (int a = 0; a < 3; ++a) {
    dims[body.axes[a]] = std::lround(lengths[a] / voxel[a]);
    half[body.axes[a]] = static_cast<float>(0.5 * (lengths[a] - voxel[a]));
  }
  const auto show = [&](double x, double y, double z) {
    const NmVec3d place(x, y, z);
    NmVec3d p;
    for (int a = 0; a < 3; ++a) {
      const int axis = body.axes[a];
      p[a] = body.signs[a] * (2.0 * place[axis] / static_cast<double>(dims[axis] - 1) - 1.0) *
             half[axis];
    }
    const double noise = 12.0;
    const auto noiseOf = [&](std::uint32_t which) {
      return noise * host::voxelNoise(std::lround(x), std::lround(y), std::lround(z), which);
    };
    return std::hypot(scene.show(p.x, p.y, p.z) + noiseOf(1), noiseOf(2));
  };
  const NmHandle<VlMemoryData> volume = makeVolume(dims, show, NmPrimType::UnsignedShort);
  volume->setBoundingBox({-half.x, half.x, -half.y, half.y, -half.z, half.z});
  return volume;
}

/// As RegElasticRegistration::findMasking shapes it.
ChestMask maskBehind(double wall, const BodyAxes& body) {
  ChestMask mask = {{}, {}, 192.0f, 205.0f};
  mask.center[body.axes.y] = static_cast<float>(body.signs.y * (wall + 205.0));
  mask.weights[body.axes.x] = 1.1f;
  mask.weights[body.axes.y] = 1.0f;
  mask.weights[body.axes.z] = 1.25f;
  return mask;
}

class ChestEvidenceTest : public testing::TestWithParam<Scene> {};

TEST_P(ChestEvidenceTest, tellsAChestFromOtherBodies) {
  const Scene& scene = GetParam();
  for (const BodyAxes& body :
       {BodyAxes{{0, 1, 2}, {-1, -1, 1}, false}, BodyAxes{{2, 0, 1}, {1, 1, -1}, false}}) {
    const auto evidence =
        voxreg::detail::chestEvidence(*volumeOf(scene, body), body, maskBehind(scene.wall, body));
    const ChestVerdict verdict = judgeChest(evidence);
    EXPECT_EQ(verdict.isChest, scene.isChest) << verdict.reason << ": " << evidence.lungShare << ' '
                                              << evidence.lungWidth << ' ' << evidence.wallDepth;
    EXPECT_FALSE(verdict.reason.empty());
  }
}

INSTANTIATE_TEST_SUITE_P(
    Scenes, ChestEvidenceTest,
    testing::Values(
        Scene{"chest", chest, 352, -65, true}, Scene{"air beside", chest, 420, -65, true},
        Scene{"cut at the sides", chest, 260, -65, true},
        Scene{"wall too far in front", chest, 352, -100, false},
        Scene{"one lung in view", chest, 130, -65, false},
        Scene{"one lung", oneLung, 352, -65, false}, Scene{"shoulders", shoulders, 352, -65, false},
        Scene{"abdomen", abdomen, 440, -65, false}, Scene{"ball", ball, 352, -65, false},
        Scene{"wide ball", wideBall, 352, -60, false}, Scene{"cube", cube, 352, -60, false},
        Scene{"two balls", twoBalls, 352, -40, false}, Scene{"head", head, 352, -75, false},
        Scene{"head that fills the volume", head, 150, -75, false},
        Scene{"legs", legs, 352, -60, false}, Scene{"air", air, 352, -60, false}));

/// Whether the wall that is found in a volume would be masked.
ChestVerdict verdictOn(const NiftiVolume& volume) {
  const LogCapture log;
  const auto converted = voxreg::detail::asUnsignedShort(volume.image);
  const BodyAxes body = {{0, 1, 2}, {-1, -1, 1}, false};
  const auto wall = voxreg::detail::findChestWall(converted.data, converted.rescale, body);
  if (!wall) return {false, "no wall"};
  return judgeChest(voxreg::detail::chestEvidence(*converted.data, body, wall->mask));
}

/// A monotonous change of contrast, and noise with it.
void distort(VlMemoryData& volume, double exponent, double noise) {
  const NmVec3l n = volume.dims();
  const NmHandle<VlDataAccess> access = volume.lock(true);
  auto* const voxels = static_cast<unsigned short*>(access->dataPtr(0));
  for (long i = 0; i < n.x * n.y * n.z; ++i) {
    const auto noiseOf = [&](std::uint32_t seed) {
      return noise * host::voxelNoise(i % n.x, i / n.x % n.y, i / n.x / n.y, seed);
    };
    const double changed = 1000.0 * std::pow(voxels[i] / 1000.0, exponent);
    voxels[i] = static_cast<unsigned short>(std::hypot(changed + noiseOf(5), noiseOf(6)));
  }
}

TEST(ChestWallDecision, masksThePhantomsOfManySeeds) {
  const NmVec3l dims[] = {{64, 64, 16}, {48, 96, 20}, {90, 60, 22}, {56, 72, 31}};
  for (unsigned int seed = 40; seed < 64; ++seed) {
    SCOPED_TRACE(seed);
    NiftiVolume volume = chestBefore(host::ChestPhantom(seed), dims[seed % 4], seed);
    if (seed % 3 == 1) distort(*volume.image.volume(), 1.0, 30.0);
    if (seed % 3 == 2) distort(*volume.image.volume(), 0.85, 5.0);
    const ChestVerdict verdict = verdictOn(volume);
    EXPECT_TRUE(verdict.isChest) << verdict.reason;
  }
}

TEST(ChestWallDecision, masksChestsAndWhatItIsAskedTo) {
  const LogCapture log;
  const NmVec3l dims(32, 32, 16);
  const host::ChestPhantom phantom(81);
  const NiftiVolume chests[] = {chestBefore(phantom, dims, 1),
                                chestAfter(phantom, host::ChestMotion(phantom, 81), dims, 2)};
  const NiftiVolume heads[] = {host::acquire(host::Phantom(3), 24, {}),
                               host::acquire(host::Phantom(4), 24, {})};
  const auto told = [](const NiftiVolume(&pair)[2], voxreg::Masking masking) {
    voxreg::ElasticOptions options;
    options.masking = masking;
    const auto found = voxreg::registerElastic(pair[0].image, pair[1].image, options);
    EXPECT_EQ(found.mask.has_value(), found.chestWall.starts_with("masked")) << found.chestWall;
    return found.chestWall;
  };
  EXPECT_TRUE(told(chests, voxreg::Masking::chests).starts_with("masked: two lungs"));
  EXPECT_EQ(told(chests, voxreg::Masking::none), "not masked, as requested");
  EXPECT_TRUE(told(heads, voxreg::Masking::chests).starts_with("not masked: "));
  EXPECT_EQ(told(heads, voxreg::Masking::required), "masked, as requested");
}

class RealBodyTest : public testing::TestWithParam<const char*> {};

/// None of the available volumes shows breasts; the tomogram of the chest shows one lung, its
/// subject.
TEST_P(RealBodyTest, isNotMasked) {
  VOXREG_SKIP_WITHOUT_SHARED_DATA();
  EXPECT_FALSE(verdictOn(host::readNifti(sharedData(GetParam()))).isChest);
}

INSTANTIATE_TEST_SUITE_P(Volumes, RealBodyTest,
                         testing::Values("mni152_2009.nii.gz", "chris_t1.nii.gz",
                                         "pairs/reference.nii.gz", "pairs/warped_model.nii.gz",
                                         "brain1.nii.gz", "brain2.nii.gz", "lung_small.nii.gz",
                                         "prostate/case0.mr_image.nii.gz",
                                         "prostate/case0.us_image.nii.gz", "spine/t1.nii.gz",
                                         "spine/t2.nii.gz"));

}  // namespace
