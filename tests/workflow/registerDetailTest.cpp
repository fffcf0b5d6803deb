#include <gtest/gtest.h>

#include "tests/support/LogCapture.h"
#include "tests/workflow/smoothScene.h"

namespace {

using voxreg::Detail;
using voxreg::Image;
using voxreg::Registration;

/// A warp with folds of 20 mm, finer than a lattice of 40 mm shows.
NmVec3d wrinkled(const NmVec3d& p) {
  return {p.x + 1.2 * std::sin(p.y / 3.2), p.y - 1.2 * std::sin(p.z / 3.2 + 0.5),
          p.z + 1.2 * std::cos(p.x / 3.2)};
}

/// Waves of 9 to 15 mm in all directions, in a soft ball: fine anatomy.
double tissue(const NmVec3d& p) {
  struct Wave {
    NmVec3d along;  ///< radians per millimetre
    double phase;
  };
  static const std::vector<Wave> waves = [] {
    std::mt19937 random(4);
    const auto within = [&](double low, double high) {
      return low + (high - low) * static_cast<double>(random()) / 4294967295.0;
    };
    std::vector<Wave> made;
    while (made.size() < 16) {
      const NmVec3d along(within(-0.7, 0.7), within(-0.7, 0.7), within(-0.7, 0.7));
      const double length = std::hypot(along.x, along.y, along.z);
      if (length > 0.42 && length < 0.7) made.push_back({along, within(0.0, 6.3)});
    }
    return made;
  }();
  double value = 200.0;
  for (const auto& [along, phase] : waves)
    value += 15.0 * std::sin(along.x * p.x + along.y * p.y + along.z * p.z + phase);
  return value / (1.0 + std::exp(0.7 * (std::hypot(p.x, p.y, p.z) - 32.0)));
}
double wrinkledTissue(const NmVec3d& p) {
  return tissue(wrinkled(p));
}
double warpedBlobs(const NmVec3d& p) {
  return blobsAt(warped(p));
}

Registration withDetail(Detail detail, const Image& reference, const Image& model,
                        std::optional<double> spacing = 40.0,
                        const voxreg::ProgressCallback& progress = {}) {
  voxreg::DeformableOptions options;
  options.detail = detail;
  options.spacing = spacing;
  options.start = voxreg::Transform();
  options.progress = progress;
  return voxreg::registerDeformable(reference, model, options);
}

const SceneGrid fine = {{80, 80, 80}, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}};

TEST(RegisterDetail, findsMoreThanALatticeAndHasAnInverse) {
  const LogCapture log;
  const SceneGrid straight;
  const SceneGrid oblique = {{40, 44, 40},
                             {1.6, 1.2, 0, 0, -1.2, 1.6, 0, 0, 0, 0, -2, 0, 0, 0, 0, 1}};
  struct {
    const char* name;
    SceneGrid grid;
    Detail detail;
  } const cases[] = {{"fine voxels", fine, Detail::normal},
                     {"fine voxels, fast", fine, Detail::fast},
                     {"coarse voxels", straight, Detail::fine},
                     {"oblique", oblique, Detail::normal}};
  for (const auto& [name, grid, detail] : cases) {
    SCOPED_TRACE(name);
    const Image reference = sampled(wrinkledTissue, grid), model = sampled(tissue, grid);
    const Registration found = withDetail(detail, reference, model);
    ASSERT_TRUE(found) << found.reason.message;
    ASSERT_NE(found.transform.field(), nullptr);
    EXPECT_TRUE(found.transform.field()->isValid());
    const Registration smooth = withDetail(Detail::none, reference, model);
    EXPECT_LT(meanDistance(found.transform, wrinkled),
              0.8 * meanDistance(smooth.transform, wrinkled));
    EXPECT_GT(found.smallestJacobian, 0.02);
    EXPECT_GT(found.metricAfter.value(), smooth.metricAfter.value());
    const voxreg::Transform back = found.transform.inverse();
    const auto thereAndBack = [&](const NmVec3d& p) { return back(found.transform(p)); };
    EXPECT_LT(meanDistance(thereAndBack, [](const NmVec3d& p) { return p; }), 0.001);
  }
}

TEST(RegisterDetail, leavesTheLatticeWhereItShowsAll) {
  const LogCapture log;
  const Image reference = sampled(warpedBlobs), model = sampled(blobsAt);
  const Registration found = withDetail(Detail::normal, reference, model, std::nullopt);
  ASSERT_TRUE(found) << found.reason.message;
  ASSERT_NE(found.transform.lattice(), nullptr);
  ASSERT_EQ(found.warnings.size(), 1u);
  EXPECT_NE(found.warnings[0].find("no more detail"), std::string::npos);
  EXPECT_LT(meanDistance(found.transform, warped), 0.35);
  voxreg::DeformableOptions softer;
  softer.spacing = voxreg::defaultSpacing(reference, Detail::normal);
  softer.stiffness = 1.0 / 3.0;
  softer.start = voxreg::Transform();
  const Registration smooth = voxreg::registerDeformable(reference, model, softer);
  EXPECT_EQ(found.transform.lattice()->lattice.values, smooth.transform.lattice()->lattice.values);
}

TEST(RegisterDetail, finishesTheLatticeWhereItWasLeftAtCoarseVoxels) {
  const LogCapture log;
  const Registration found =
      withDetail(Detail::normal, sampled(warpedBlobs, fine), sampled(blobsAt, fine), std::nullopt);
  ASSERT_TRUE(found) << found.reason.message;
  ASSERT_NE(found.transform.lattice(), nullptr);
  EXPECT_EQ(found.warnings.size(), 1u);
  EXPECT_LT(meanDistance(found.transform, warped), 0.35);
}

TEST(RegisterDetail, movesFlatImagesWithinTheirPlane) {
  const LogCapture log;
  const SceneGrid flat = {{90, 90, 1}, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 5, 0, 0, 0, 0, 1}};
  const auto truth = [](const NmVec3d& p) {
    return NmVec3d(p.x + 1.2 * std::sin(p.y / 3.2), p.y - 1.2 * std::sin(p.x / 3.2 + 0.5), p.z);
  };
  const Registration found =
      withDetail(Detail::normal, sampled([&](const NmVec3d& p) { return tissue(truth(p)); }, flat),
                 sampled(tissue, flat));
  ASSERT_TRUE(found) << found.reason.message;
  for (double x = -40; x <= 40; x += 8) EXPECT_EQ(found.transform({x, 7, 0}).z, 0.0);
}

TEST(RegisterDetail, keepsWhatItHasWhereverItIsStopped) {
  const LogCapture log;
  const Image reference = sampled(wrinkledTissue, fine), model = sampled(tissue, fine);
  int polls = 0;
  const auto countingUpTo = [&](int stop, int& count) {
    return [&count, stop](const voxreg::Progress& progress) {
      count += progress.stage.starts_with("Adding detail") ? 1 : 0;
      return count <= stop;
    };
  };
  (void)withDetail(Detail::fast, reference, model, 40.0, countingUpTo(1000, polls));
  ASSERT_GT(polls, 5);
  double atFirst = std::numeric_limits<double>::infinity();
  for (int stop = 0; stop < polls; stop += 3) {
    int count = 0;
    const Registration found =
        withDetail(Detail::fast, reference, model, 40.0, countingUpTo(stop, count));
    EXPECT_TRUE(found.interrupted) << stop;
    EXPECT_GT(found.smallestJacobian, 0.02) << stop;
    const double error = meanDistance(found.transform, wrinkled);
    EXPECT_LE(error, atFirst) << stop;
    if (stop == 0) atFirst = error;
  }
}

TEST(RegisterDetail, isNotMisledByMissingAndOddValues) {
  const LogCapture log;
  const auto spoilt = [](double (*field)(const NmVec3d&)) {
    return sampled(
        [field](const NmVec3d& p) {
          const bool isMissing = std::hypot(p.x - 10.0, p.y + 4.0, p.z - 6.0) < 6.0;
          return isMissing ? std::numeric_limits<double>::quiet_NaN() : field(p);
        },
        fine);
  };
  const Registration found = withDetail(Detail::normal, spoilt(wrinkledTissue), spoilt(tissue));
  ASSERT_TRUE(found) << found.reason.message;
  EXPECT_LT(meanDistance(found.transform, wrinkled), meanDistance(voxreg::Transform(), wrinkled));
  const auto asHounsfield = [](double (*field)(const NmVec3d&)) {
    return sampled([field](const NmVec3d& p) { return field(p) - 1000.0; }, fine);
  };
  const Registration negative =
      withDetail(Detail::fast, asHounsfield(wrinkledTissue), asHounsfield(tissue));
  const Registration positive =
      withDetail(Detail::fast, sampled(wrinkledTissue, fine), sampled(tissue, fine));
  ASSERT_NE(negative.transform.field(), nullptr);
  EXPECT_NEAR(meanDistance(negative.transform, wrinkled),
              meanDistance(positive.transform, wrinkled), 0.01);
  const Image constant = sampled([](const NmVec3d&) { return 3.0; });
  EXPECT_EQ(withDetail(Detail::normal, constant, constant).reason.kind,
            voxreg::Reason::Kind::noInformation);
}

}  // namespace
