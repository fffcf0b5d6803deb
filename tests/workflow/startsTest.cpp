#include "workflow/search/starts.h"

#include <voxreg.h>

#include "tests/support/LogCapture.h"
#include "tests/support/StoppingProgress.h"
#include "tests/workflow/balls.h"
#include "tests/workflow/rows.h"
#include "workflow/search/centres.h"

namespace {

using voxreg::Image;
using voxreg::StartRule;

TEST(Centres, ofMassIsThatOfTheBodyWhateverTheValuesOfAir) {
  // Air of -1000 with noise, and a body of 40 in part of it, as a CT has them.
  std::vector<short> voxels;
  for (int z = 0; z < 10; ++z)
    for (int y = 0; y < 20; ++y)
      for (int x = 0; x < 40; ++x) {
        const bool isBody = x >= 4 && x <= 12 && y >= 10 && y <= 14 && z >= 2 && z <= 8;
        voxels.push_back(static_cast<short>((isBody ? 40 : -1000) + (x * 7 + y * 3 + z) % 5));
      }
  const Image body = Image::wrap(voxels.data(), NmVec3l(40, 20, 10),
                                 NmMat4d(5, 0, 0, 0, 0, 5, 0, 0, 0, 0, 3, 0, -100, 10, 0, 1));
  const NmVec3d centre = voxreg::detail::centreOfMass(body);
  EXPECT_NEAR(centre.x, -100 + 8 * 5, 1e-3);
  EXPECT_NEAR(centre.y, 10 + 12 * 5, 1e-3);
  EXPECT_NEAR(centre.z, 5 * 3, 1e-3);
  const NmVec3d middle = voxreg::detail::centreOfBox(body);
  EXPECT_NEAR(middle.x, -2.5, 1e-3);
  EXPECT_NEAR(middle.z, 13.5, 1e-3);
}

TEST(Starts, areTheHeadersUnlessOthersShowMore) {
  const LogCapture log;
  const NmMat4d grid = placed(NmMat4d(3, 0, 0, 0, 0, 3, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1));
  NmMat4d toRest;
  toRest.setTranslate(NmVec3d(5, -4, 6));
  const std::vector<float> still = balls(grid, NmMat4d()), moved = balls(grid, toRest);
  NmMat4d far = grid;
  far.m[3][1] += 500;
  const Image reference = Image::wrap(still.data(), ballDims, grid);
  const Image farAway = Image::wrap(moved.data(), ballDims, far);
  StoppingProgress progress;
  const auto startsFor = [&](StartRule rule, const Image& model) {
    return voxreg::detail::startsFor(rule, reference, model, {}, progress);
  };
  // The boxes have one middle here, so that their start and the header's are equally good.
  EXPECT_EQ(voxreg::detail::bestOf(startsFor(StartRule::best, reference)).rule, StartRule::header);
  const voxreg::Start found = voxreg::detail::bestOf(startsFor(StartRule::best, farAway));
  EXPECT_NE(found.rule, StartRule::header);
  EXPECT_NEAR(found.matrix.m[3][1], -500, 10);
  const auto starts = startsFor(StartRule::masses, farAway);
  ASSERT_EQ(starts.size(), 1u);
  for (int c = 0; c < 3; ++c) EXPECT_NEAR(starts[0].matrix.m[3][c], (NmVec3d(5, -504, 6)[c]), 1.0);
}

TEST(Overlap, isTheShareOfTheReferenceThatTheModelCovers) {
  const std::vector<float> values = {0, 0, 1, 2, 3, 4, 5, 5};
  const Image row = rowOf(values);
  const auto overlapAfter = [&](double shift) {
    NmMat4d matrix;
    matrix.setTranslate(NmVec3d(shift, 0, 0));
    return voxreg::overlapOf(row, row, voxreg::Transform::fromModelToReference(matrix));
  };
  EXPECT_EQ(overlapAfter(0).share, 1.0);
  EXPECT_EQ(overlapAfter(0.009).share, 1.0);  // less than a hundredth of a voxel
  EXPECT_EQ(overlapAfter(2).share, 0.75);
  EXPECT_TRUE(overlapAfter(2).referenceVaries && overlapAfter(2).modelVaries);
  const voxreg::Overlap ends = overlapAfter(7);
  EXPECT_EQ(ends.share, 0.125);
  EXPECT_FALSE(ends.referenceVaries || ends.modelVaries);
  EXPECT_TRUE(overlapAfter(-5).modelVaries && overlapAfter(6).referenceVaries == false);
  EXPECT_EQ(overlapAfter(5000).share, 0.0);
}

}  // namespace
