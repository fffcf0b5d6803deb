#include "gridTransform.h"

#include <cmath>

#include "HostError.h"
#include "displacementError.h"
#include "placeMap.h"
#include "saved.h"
#include "testFiles.h"
#include "tests/support/expectNear.h"
#include "tests/support/grids.h"

namespace {

using host::GridTransform;

const NmBox3f box(-10, 30, 0, 25, 5, 20);

GridTransform someTransform() {
  GridTransform transform;
  jittered(NmVec3i(3, 2, 4), 1.5, box).getTransform(transform.grid);
  transform.boxToWorld = NmMat4d(0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 7, 8, 9, 1);
  return transform;
}

TEST(GridTransform, sendsPointsWithinTheBoxAndBesideItWhereTheLibrarySendsThem) {
  const GridTransform transform = someTransform();
  const RegNonAffineTransform library = jittered(NmVec3i(3, 2, 4), 1.5, box);
  for (const NmVec3d& at : {NmVec3d(0.1, 0.7, 0.9), NmVec3d(1, 0, 1), NmVec3d(0.5, 0.5, 0.5),
                            NmVec3d(-0.2, 0.3, 1.4), NmVec3d(1.1, -3.0, 0.2)}) {
    const NmVec3d inBox(-10 + 40 * at.x, 25 * at.y, 5 + 15 * at.z);
    expectNear(transform.ofBox(inBox), evaluated(library, at), 1e-9);
    const NmVec3d world(7 - inBox.y, 8 + inBox.x, 9 + inBox.z);
    expectNear(transform.ofWorld(world), evaluated(library, at), 1e-9);
  }
}

TEST(GridTransform, shiftsWhatLiesBeyondIfAsked) {
  GridTransform transform = someTransform();
  const NmVec3d rim = transform.ofBox(NmVec3d(30, 10, 5));
  transform.beyond = GridTransform::Beyond::displacement;
  // The frame's x is the world's y, and its z the world's.
  expectNear(transform.ofBox(NmVec3d(32, 10, 1)), NmVec3d(rim.x, rim.y + 2, rim.z - 4), 1e-9);
  expectNear(transform.ofBox(NmVec3d(30, 10, 5)), rim, 0.0);
}

TEST(GridTransform, comesBackFromItsFile) {
  const TestFolder folder;
  GridTransform transform = someTransform();
  transform.beyond = GridTransform::Beyond::displacement;
  saved(host::writeGridTransform, folder.file("t.json"), transform);
  const GridTransform read = host::readGridTransform(folder.file("t.json"));
  EXPECT_EQ(read.grid.box, transform.grid.box);
  EXPECT_EQ(read.grid.numBricks, transform.grid.numBricks);
  EXPECT_EQ(read.beyond, transform.beyond);
  expectNear(read.boxToWorld, transform.boxToWorld, 0.0);
  ASSERT_EQ(read.grid.vertices.size, transform.grid.vertices.size);
  for (long i = 0; i < read.grid.vertices.size; ++i)
    EXPECT_EQ(read.grid.vertices[i], transform.grid.vertices[i]);
  EXPECT_EQ(folder.names().size(), 1u);
}

TEST(GridTransform, refusesFilesThatDescribeNone) {
  const TestFolder folder;
  saved(host::writeGridTransform, folder.file("good.json"), someTransform());
  const std::string good = contentOf(folder.file("good.json"));
  const auto with = [&](const std::string& from, const std::string& to) {
    std::string text = good;
    return text.replace(text.find(from), from.size(), to);
  };
  const std::string bad[] = {"",
                             "{}",
                             "[1, 2]",
                             good.substr(0, good.size() / 2),
                             with("\"bricks\":[3", "\"bricks\":[4"),
                             with("\"bricks\":[3", "\"bricks\":[0"),
                             with("\"bricks\":[3", "\"bricks\":[3.5"),
                             with("\"bricks\":[3", "\"bricks\":[1e99"),
                             with("\"bricks\":[3", "\"bricks\":[\"3\""),
                             with("\"box\":[-10.0,30.0", "\"box\":[30.0,-10.0"),
                             with("\"box\":[-10.0", "\"box\":[null"),
                             with("\"boxToWorld\":[0.0,1.0", "\"boxToWorld\":[0.0,0.0"),
                             with("\"beyond\":\"bricks", "\"beyond\":\"water"),
                             with("\"vertices\"", "\"corners\"")};
  for (const std::string& content : bad) {
    writeFile(folder.file("bad.json"), content);
    EXPECT_THROW((void)host::readGridTransform(folder.file("bad.json")), host::HostError)
        << content.substr(0, 150);
  }
}

TEST(GridTransform, theStartIsTheInverseOfTheMatrixBetweenTurnedFrames) {
  host::NiftiVolume reference = host::newVolume(NmVec3l(5, 4, 1), NmBox3f(0, 8, 0, 6, 3, 3), 3);
  host::NiftiVolume model = reference;
  reference.frame.toWorld.setTranslate(NmVec3d(1, 2, 3));
  model.frame.toWorld = NmMat4d(0.6, 0.8, 0, 0, -0.8, 0.6, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
  const NmMat4d matrix(1.1, 0.2, 0, 0, 0, 0.9, 0.1, 0, 0, 0, 1, 0, 4, 5, 6, 1);
  const GridTransform transform =
      GridTransform::fromFrames(GridTransform::start(matrix, reference, model), reference, model);
  EXPECT_GT(transform.grid.box.volume(), 0.0f);
  const NmVec3d place(2.5, 4, 6);
  NmVec3d expected;
  matrix.inverse().multVecMatrix(place, expected);
  expectNear(transform.ofWorld(place), expected, 1e-9);

  const NmVec3f inFrame(1.5f, 2, 3);
  const NmVec3f byGrid = host::placeMap(transform, reference, model)(inFrame);
  const NmVec3f byMatrix = host::placeMap(matrix, reference, model)(inFrame);
  for (int c = 0; c < 3; ++c) EXPECT_NEAR(byGrid[c], byMatrix[c], 1e-5);
}

TEST(DisplacementError, ranksTheDistancesOfTheFilesPoints) {
  const TestFolder folder;
  GridTransform shift;  // by 1 along x
  RegNonAffineTransform({box, {}, {}}, NmVec3i(1, 1, 1)).getTransform(shift.grid);
  for (long v = 0; v < 8; ++v) shift.grid.vertices[3 * v] += 1.0;
  std::string lines;
  for (int i = 0; i < 101; ++i)  // the model's points lie 0 to 100 mm further along y
    lines += "3 4 6 4 " + std::to_string(4 + i) + " 6\n";
  writeFile(folder.file("points.txt"), lines);
  const auto error =
      host::displacementError(shift, host::readPointPairs(folder.file("points.txt")));
  EXPECT_NEAR(error.mean, 50.0, 1e-9);
  EXPECT_NEAR(error.percentile95, 95.0, 1e-9);
  EXPECT_NEAR(error.maximum, 100.0, 1e-9);
  for (const char* const content :
       {"", "1 2 3 4 5\n", "1 2 3 4 5 x\n", "1 2 3 4 5 nan\n", "1 2 3 4 5 6 7\n"}) {
    writeFile(folder.file("points.txt"), content);
    EXPECT_THROW((void)host::readPointPairs(folder.file("points.txt")), host::HostError) << content;
  }
}

}  // namespace
