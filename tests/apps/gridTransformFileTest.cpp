#include "files/gridTransformFile.h"

#include "commands/displacementError.h"
#include "saved.h"
#include "terminal/HostError.h"
#include "testFiles.h"
#include "tests/support/expectNear.h"
#include "tests/support/grids.h"

namespace {

using voxreg::BrickGrid;

const NmBox3f box(-10, 30, 0, 25, 5, 20);

BrickGrid someTransform() {
  BrickGrid transform;
  jittered(NmVec3i(3, 2, 4), 1.5, box).getTransform(transform.grid);
  transform.boxToWorld = NmMat4d(0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 7, 8, 9, 1);
  return transform;
}

TEST(GridTransformFile, comesBackFromItsFile) {
  const TestFolder folder;
  BrickGrid transform = someTransform();
  transform.beyond = BrickGrid::Beyond::displacement;
  saved(host::writeGridTransform, folder.file("t.json"), transform);
  const BrickGrid read = host::readGridTransform(folder.file("t.json"));
  EXPECT_EQ(read.grid.box, transform.grid.box);
  EXPECT_EQ(read.grid.numBricks, transform.grid.numBricks);
  EXPECT_EQ(read.beyond, transform.beyond);
  expectNear(read.boxToWorld, transform.boxToWorld, 0.0);
  ASSERT_EQ(read.grid.vertices.size, transform.grid.vertices.size);
  for (long i = 0; i < read.grid.vertices.size; ++i)
    EXPECT_EQ(read.grid.vertices[i], transform.grid.vertices[i]);
  EXPECT_EQ(folder.names().size(), 1u);
}

TEST(GridTransformFile, refusesFilesThatDescribeNone) {
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

TEST(DisplacementError, ranksTheDistancesOfTheFilesPoints) {
  const TestFolder folder;
  BrickGrid shift;  // by 1 along x
  RegNonAffineTransform({box, {}, {}}, NmVec3i(1, 1, 1)).getTransform(shift.grid);
  for (long v = 0; v < 8; ++v) shift.grid.vertices[3 * v] += 1.0;
  std::string lines;
  for (int i = 0; i < 101; ++i)  // the model's points lie 0 to 100 mm further along y
    lines += "3 4 6 4 " + std::to_string(4 + i) + " 6\n";
  writeFile(folder.file("points.txt"), lines);
  const auto error = host::displacementError(voxreg::Transform::fromBricks(shift),
                                             host::readPointPairs(folder.file("points.txt")));
  EXPECT_NEAR(error.mean, 50.0, 1e-9);
  EXPECT_NEAR(error.percentile95, 95.0, 1e-9);
  EXPECT_NEAR(error.maximum, 100.0, 1e-9);
  EXPECT_EQ(host::placeErrorOf({}).maximum, 0.0);
  for (const char* const content :
       {"", "1 2 3 4 5\n", "1 2 3 4 5 x\n", "1 2 3 4 5 nan\n", "1 2 3 4 5 6 7\n"}) {
    writeFile(folder.file("points.txt"), content);
    EXPECT_THROW((void)host::readPointPairs(folder.file("points.txt")), host::HostError) << content;
  }
}

}  // namespace
