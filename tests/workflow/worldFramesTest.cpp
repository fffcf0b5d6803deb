#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/LogCapture.h"
#include "tests/workflow/balls.h"

namespace {

using voxreg::Image;

/// Model world to reference world.
NmMat4d truth() {
  const double c = std::cos(0.06), s = std::sin(0.06);
  return {c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, 3, -2, 1.5, 1};
}

struct Case {
  const char* name;
  NmMat4d axes;  ///< of the reference; about 3 mm each
  voxreg::Metric metric;
  voxreg::Search search;
};

void PrintTo(const Case& tried, std::ostream* out) {
  *out << tried.name;
}

class WorldFrames : public testing::TestWithParam<Case> {};

TEST_P(WorldFrames, leadToTheSameTransform) {
  const LogCapture log;
  const NmMat4d fixed = placed(GetParam().axes);
  const NmMat4d straight = placed(NmMat4d(3, 0, 0, 0, 0, 3, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1));
  const std::vector<float> reference = balls(fixed, NmMat4d());
  const std::vector<float> model = balls(straight, truth());
  voxreg::AffineOptions options;
  options.degreesOfFreedom = 6;
  options.metric.metric = GetParam().metric;
  options.search.search = GetParam().search;
  const voxreg::Registration found =
      voxreg::registerAffine(Image::wrap(reference.data(), ballDims, fixed),
                             Image::wrap(model.data(), ballDims, straight), options);
  ASSERT_TRUE(found) << found.reason.message;
  for (const NmVec3d& place : {NmVec3d(0, 0, 0), NmVec3d(20, 0, 10), NmVec3d(-10, 15, -20)}) {
    NmVec3d expected;
    truth().inverse().multVecMatrix(place, expected);
    const NmVec3d sent = found.transform(place);
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(sent[c], expected[c], 0.3);  // a tenth of a voxel
  }
  EXPECT_GT(found.metricAfter.value(), found.metricBefore.value());
  EXPECT_GT(found.evaluations, 0);
}

using enum voxreg::Metric;
using enum voxreg::Search;

INSTANTIATE_TEST_SUITE_P(
    Axes, WorldFrames,
    testing::Values(Case{"straight",
                         {3, 0, 0, 0, 0, 3, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1},
                         meanSquaredDifference,
                         quasiNewton},
                    Case{"mirrored",
                         {-3, 0, 0, 0, 0, -3, 0, 0, 0, 0, -3, 0, 0, 0, 0, 1},
                         mutualInformation,
                         bestDirection},
                    Case{"permuted",
                         {0, 0, 3, 0, -3, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0, 1},
                         correlationRatio,
                         aggressiveDirection},
                    Case{"oblique",
                         {2.7, 1.3, 0, 0, -1.3, 2.7, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1},
                         correlationRatio,
                         conjugateGradient},
                    Case{"sheared and mirrored",
                         {3, 0, 0, 0, 0.5, -3, 0.2, 0, 0.3, 0, 3, 0, 0, 0, 0, 1},
                         normalizedMutualInformation,
                         bestNeighbour}));

}  // namespace
