#include <gtest/gtest.h>

#include <string>

#include "tests/support/LogCapture.h"
#include "tests/workflow/smoothScene.h"

namespace {

using voxreg::Image;
using voxreg::Registration;

/// Smooth patterns that have nothing in common.
Image pattern(double x, double y, double z) {
  return sampled([=](const NmVec3d& p) {
    return 100.0 + 40.0 * std::sin(x * p.x + 0.03 * p.y * p.y / 10.0) +
           40.0 * std::cos(y * p.y + z * p.z) + 20.0 * std::sin(z * p.x * p.z / 10.0);
  });
}

Image first() {
  return pattern(0.31, 0.17, 0.11);
}
Image second() {
  return pattern(0.12, 0.27, 0.23);
}

bool isAt(const voxreg::Transform& transform, const NmVec3d& shift) {
  const NmVec3d found = transform({7, -3, 5});
  return std::hypot(found.x - 7 - shift.x, found.y + 3 - shift.y, found.z - 5 - shift.z) < 1e-9;
}

TEST(Confirmation, keepsTheStartIfSearchesInBothDirectionsDisagree) {
  const LogCapture log;
  NmMat4d moved;
  moved.setTranslate(NmVec3d(2, 1, -1));
  for (const auto metric :
       {voxreg::Metric::normalizedMutualInformation, voxreg::Metric::mutualInformation}) {
    voxreg::AffineOptions options;
    options.metric.metric = metric;
    options.start = voxreg::Transform::fromReferenceToModel(moved);
    const Registration found = voxreg::registerAffine(first(), second(), options);
    ASSERT_TRUE(found);
    EXPECT_TRUE(found.startIsKept);
    EXPECT_TRUE(isAt(found.transform, {2, 1, -1}));
    ASSERT_EQ(found.warnings.size(), 1u);
    EXPECT_NE(found.warnings[0].find("the start is kept"), std::string::npos);
  }
  voxreg::DeformableOptions fromHeader;
  fromHeader.startRule = voxreg::StartRule::header;
  const Registration deformed = voxreg::registerDeformable(
      pattern(0.245, 0.101, 0.292), pattern(0.332, 0.167, 0.116), fromHeader);
  ASSERT_TRUE(deformed);
  EXPECT_TRUE(deformed.startIsKept);
  EXPECT_EQ(deformed.smallestJacobian, 1.0);
  EXPECT_TRUE(isAt(deformed.transform, {}));
}

TEST(Confirmation, isNotAskedForIfTheImagesShareMuchOrAStopIsAskedFor) {
  const LogCapture log;
  std::vector<std::string> stages;
  voxreg::AffineOptions options;
  options.start = voxreg::Transform();
  options.progress = [&](const voxreg::Progress& progress) {
    stages.push_back(progress.stage);
    return progress.stage != "Checking";
  };
  const Registration related = voxreg::registerAffine(sampled(blobsAt), sampled(blobsAt), options);
  ASSERT_TRUE(related);
  EXPECT_FALSE(related.interrupted || related.startIsKept);
  EXPECT_EQ(std::count(stages.begin(), stages.end(), "Checking"), 0);
  const Registration stopped = voxreg::registerAffine(first(), second(), options);
  EXPECT_TRUE(stopped.interrupted);
  EXPECT_FALSE(stopped.startIsKept);
  EXPECT_TRUE(stopped.warnings.empty());
  EXPECT_FALSE(isAt(stopped.transform, {}));
}

}  // namespace
