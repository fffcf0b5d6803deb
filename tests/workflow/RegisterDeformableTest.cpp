#include <gtest/gtest.h>

#include "tests/support/LogCapture.h"
#include "tests/workflow/smoothScene.h"

namespace {

using voxreg::DeformableOptions;
using voxreg::Image;
using voxreg::Transform;
using enum voxreg::Metric;

/// What shows the warp: a reference with the blobs where the warp says, against the blobs at rest.
double warpedBlobs(const NmVec3d& p) {
  return blobsAt(warped(p));
}

enum class From { affine, identity, matrix, lattice, bricks };

Transform startOf(From from) {
  NmMat4d matrix;
  matrix.setTranslate(NmVec3d(0.5, -1.0, 1.5));
  const NmBox3f box(-45, 45, -45, 45, -45, 45);
  voxreg::LatticeMap map = {voxreg::ControlLattice(box, {3, 4, 5}), {}, matrix};
  std::fill_n(map.lattice.values.begin(), map.lattice.controlCount(), 1.0);
  switch (from) {
    case From::affine:
    case From::identity:
      break;
    case From::matrix:
      return Transform::fromReferenceToModel(matrix);
    case From::lattice:
      return Transform::fromLattice(map);
    case From::bricks:
      return Transform::fromBricks(voxreg::approximateByBricks(map).bricks);
  }
  return {};
}

struct Case {
  const char* name;
  SceneGrid reference;
  voxreg::Metric metric;
  From from;
  double limit;  ///< of the mean error, millimetres
};

void PrintTo(const Case& tried, std::ostream* out) {
  *out << tried.name;
}

class SmoothWarp : public testing::TestWithParam<Case> {};

TEST_P(SmoothWarp, isFoundToAFractionOfAVoxel) {
  const LogCapture log;
  const Case& tried = GetParam();
  const bool isLinear = tried.metric == meanSquaredDifference || tried.metric == correlationRatio;
  const Image model = sampled([&](const NmVec3d& p) {
    const double value = blobsAt(p);
    return isLinear ? value : 0.01 * (value - 220.0) * (value - 220.0);
  });
  DeformableOptions options;
  options.metric.metric = tried.metric;
  options.spacing = 10.0;
  if (tried.from != From::affine) options.start = startOf(tried.from);
  const voxreg::Registration found =
      voxreg::registerDeformable(sampled(warpedBlobs, tried.reference), model, options);
  ASSERT_TRUE(found) << found.reason.message;
  EXPECT_LT(meanDistance(found.transform, warped), tried.limit);
  EXPECT_GT(found.smallestJacobian, 0.5);
  EXPECT_GT(found.metricAfter.value(), found.metricBefore.value());
  EXPECT_GT(found.evaluations, 0);
  EXPECT_EQ(found.evaluations, found.gradients);
  EXPECT_EQ(found.chosenStart.has_value(), tried.from == From::affine);
  ASSERT_NE(found.transform.lattice(), nullptr);
  EXPECT_TRUE(found.transform.lattice()->isValid());
}

const SceneGrid straight;
const SceneGrid mirrored = {{40, 40, 40}, {-2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1}};
const SceneGrid permuted = {{36, 40, 44}, {0, 0, -2, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 1}};
const SceneGrid oblique = {{40, 44, 40},
                           {1.6, 1.2, 0, 0, -1.2, 1.6, 0, 0, 0, 0, -2, 0, 0, 0, 0, 1}};
const SceneGrid thick = {{40, 40, 14}, {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 6, 0, 0, 0, 0, 1}};

INSTANTIATE_TEST_SUITE_P(
    Scenes, SmoothWarp,
    testing::Values(Case{"nmi", straight, normalizedMutualInformation, From::affine, 0.35},
                    Case{"mi", straight, mutualInformation, From::identity, 0.35},
                    Case{"msd", straight, meanSquaredDifference, From::matrix, 0.35},
                    Case{"cr", straight, correlationRatio, From::lattice, 0.35},
                    Case{"mirrored", mirrored, correlationRatio, From::bricks, 0.35},
                    Case{"permuted", permuted, meanSquaredDifference, From::lattice, 0.35},
                    Case{"oblique", oblique, normalizedMutualInformation, From::matrix, 0.35},
                    Case{"oblique, cr", oblique, correlationRatio, From::bricks, 0.35},
                    Case{"thick slices", thick, correlationRatio, From::affine, 0.8}));

TEST(RegisterDeformable, movesFlatImagesWithinTheirPlane) {
  const LogCapture log;
  const SceneGrid flat = {{48, 48, 1}, {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 5, 0, 0, 0, 0, 1}};
  const auto truth = [](const NmVec3d& p) {
    return NmVec3d(p.x + 2.5 * std::sin(p.y / 14.0), p.y - 2.0 * std::sin(p.x / 16.0 + 0.5), p.z);
  };
  const Image reference = sampled([&](const NmVec3d& p) { return blobsAt(truth(p)); }, flat);
  for (const bool hasStart : {false, true}) {
    DeformableOptions options;
    options.metric.metric = meanSquaredDifference;
    options.spacing = 10.0;
    if (hasStart) options.start = Transform();
    const auto found = voxreg::registerDeformable(reference, sampled(blobsAt, flat), options);
    ASSERT_TRUE(found) << found.reason.message;
    const auto isInPlane = [](const NmVec3d& p) { return p.z == 0.0; };
    EXPECT_LT(meanDistance(found.transform, truth, isInPlane), 0.3);
    for (double x = -40; x <= 40; x += 8) EXPECT_EQ(found.transform({x, 7, 0}).z, 0.0);
  }
}

/// The pair with a part of one volume replaced by what is 9 mm aside.
class Misled : public testing::TestWithParam<bool> {
 protected:
  static bool isMisleading(const NmVec3d& p) {
    return std::hypot(p.x - 10.0, p.y + 4.0, p.z - 6.0) < 13.0;
  }
  static bool isFarFromIt(const NmVec3d& p) {
    return std::hypot(p.x - 10.0, p.y + 4.0, p.z - 6.0) > 16.0;
  }
  static Image spoilt(double (*field)(const NmVec3d&), bool isMissing) {
    return sampled([&](const NmVec3d& p) {
      if (!isMisleading(p)) return field(p);
      return isMissing ? std::numeric_limits<double>::quiet_NaN() : field({p.x, p.y + 9.0, p.z});
    });
  }

  /// The mean error apart from the part.
  static double errorWith(bool isMissing, bool isMasked) {
    const LogCapture log;
    const bool isModel = GetParam();
    DeformableOptions options;
    options.metric.metric = correlationRatio;
    options.spacing = 10.0;
    options.start = Transform();
    if (isMasked)
      (isModel ? options.masks.model : options.masks.reference) =
          sampled([](const NmVec3d& p) { return isMisleading(p) ? 0.0 : 1.0; });
    const Image reference = isModel ? sampled(warpedBlobs) : spoilt(warpedBlobs, isMissing);
    const Image model = isModel ? spoilt(blobsAt, isMissing) : sampled(blobsAt);
    const auto found = voxreg::registerDeformable(reference, model, options);
    EXPECT_TRUE(found) << found.reason.message;
    return meanDistance(found.transform, warped, isFarFromIt);
  }
};

TEST_P(Misled, byAPartUnlessItIsMaskedOrMissing) {
  const double misled = errorWith(false, false);
  EXPECT_LT(errorWith(false, true), 0.7 * misled);
  EXPECT_LT(errorWith(true, false), 0.7 * misled);
}

INSTANTIATE_TEST_SUITE_P(ReferenceOrModel, Misled, testing::Bool());

TEST(RegisterDeformable, keepsTheLeastJacobianWithoutStiffness) {
  const LogCapture log;
  std::mt19937 random(3);
  const auto noisy = [&](double (*field)(const NmVec3d&)) {
    return sampled([&, field](const NmVec3d& p) {
      return field(p) + 40.0 * static_cast<double>(random()) / 4294967295.0;
    });
  };
  const Image reference = noisy(warpedBlobs), model = noisy(blobsAt);
  for (const double least : {0.0, 0.6}) {
    DeformableOptions options;
    options.metric.metric = correlationRatio;
    options.stiffness = 0.0;
    options.spacing = 4.0;
    options.leastJacobian = least;
    const auto found = voxreg::registerDeformable(reference, model, options);
    ASSERT_TRUE(found) << found.reason.message;
    EXPECT_GT(found.smallestJacobian, least);
    EXPECT_LT(meanDistance(found.transform, warped), meanDistance(Transform(), warped));
  }
}

}  // namespace
