#include "files/transformFile.h"

#include "commands/displacementError.h"
#include "saved.h"
#include "terminal/HostError.h"
#include "testFiles.h"
#include "tests/support/expectNear.h"
#include "tests/support/grids.h"
#include "tests/support/lattices.h"

namespace {

using voxreg::BrickGrid;
using voxreg::LatticeMap;
using voxreg::Transform;

const NmBox3f box(-10, 30, 0, 25, 5, 20);

BrickGrid someBricks() {
  BrickGrid transform;
  jittered(NmVec3i(3, 2, 4), 1.5, box).getTransform(transform.grid);
  transform.boxToWorld = NmMat4d(0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 7, 8, 9, 1);
  return transform;
}

TEST(TransformFile, bringsBricksBack) {
  const TestFolder folder;
  BrickGrid bricks = someBricks();
  bricks.beyond = BrickGrid::Beyond::displacement;
  saved(host::writeTransform, folder.file("t.json"), Transform::fromBricks(bricks));
  const Transform transform = host::readTransform(folder.file("t.json"));
  ASSERT_NE(transform.bricks(), nullptr);
  const BrickGrid& read = *transform.bricks();
  EXPECT_EQ(read.grid.box, bricks.grid.box);
  EXPECT_EQ(read.grid.numBricks, bricks.grid.numBricks);
  EXPECT_EQ(read.beyond, bricks.beyond);
  expectNear(read.boxToWorld, bricks.boxToWorld, 0.0);
  ASSERT_EQ(read.grid.vertices.size, bricks.grid.vertices.size);
  for (long i = 0; i < read.grid.vertices.size; ++i)
    EXPECT_EQ(read.grid.vertices[i], bricks.grid.vertices[i]);
  EXPECT_EQ(folder.names().size(), 1u);
}

TEST(TransformFile, bringsLatticesBack) {
  const TestFolder folder;
  LatticeMap uneven = someLattice(1.0);
  uneven.lattice = voxreg::ControlLattice({-90.7f, 91.3f, 0.1f, 217.9f, 3, 3}, {7, 11, 1});
  for (const LatticeMap& map : {someLattice(1.0), uneven}) {
    saved(host::writeTransform, folder.file("t.json"), Transform::fromLattice(map));
    const Transform transform = host::readTransform(folder.file("t.json"));
    ASSERT_NE(transform.lattice(), nullptr);
    const LatticeMap& read = *transform.lattice();
    EXPECT_EQ(read.lattice.origin, map.lattice.origin);
    EXPECT_EQ(read.lattice.spacing, map.lattice.spacing);
    EXPECT_EQ(read.lattice.intervals, map.lattice.intervals);
    EXPECT_EQ(read.lattice.values, map.lattice.values);
    expectNear(read.boxToWorld, map.boxToWorld, 0.0);
    expectNear(read.referenceToModel, map.referenceToModel, 0.0);
  }
}

/// What a file holds, with one part of the text replaced.
std::string with(std::string text, const std::string& from, const std::string& to) {
  const std::size_t place = text.find(from);
  EXPECT_NE(place, std::string::npos) << from;
  return text.replace(place, from.size(), to);
}

TEST(TransformFile, refusesFilesThatDescribeNone) {
  const TestFolder folder;
  const auto textOf = [&](const Transform& transform) {
    saved(host::writeTransform, folder.file("good.json"), transform);
    return contentOf(folder.file("good.json"));
  };
  const std::string bricks = textOf(Transform::fromBricks(someBricks()));
  LatticeMap map = someLattice(1.0);
  map.lattice.values[0] = 1.0;
  const std::string lattice = textOf(Transform::fromLattice(map));
  const std::string bad[] = {"",
                             "{}",
                             "[1, 2]",
                             "\"controls\"",
                             bricks.substr(0, bricks.size() / 2),
                             with(bricks, "\"bricks\":[3", "\"bricks\":[4"),
                             with(bricks, "\"bricks\":[3", "\"bricks\":[0"),
                             with(bricks, "\"bricks\":[3", "\"bricks\":[3.5"),
                             with(bricks, "\"bricks\":[3", "\"bricks\":[1e99"),
                             with(bricks, "\"bricks\":[3", "\"bricks\":[\"3\""),
                             with(bricks, "\"box\":[-10.0,30.0", "\"box\":[30.0,-10.0"),
                             with(bricks, "\"box\":[-10.0", "\"box\":[null"),
                             with(bricks, "\"boxToWorld\":[0.0,1.0", "\"boxToWorld\":[0.0,0.0"),
                             with(bricks, "\"beyond\":\"bricks", "\"beyond\":\"water"),
                             with(bricks, "\"vertices\"", "\"corners\""),
                             lattice.substr(0, lattice.size() / 2),
                             with(lattice, "\"intervals\":[4", "\"intervals\":[5"),
                             with(lattice, "\"intervals\":[4", "\"intervals\":[0"),
                             with(lattice, "\"intervals\":[4", "\"intervals\":[4.5"),
                             with(lattice, "\"intervals\":[4", "\"intervals\":[1e9"),
                             with(lattice, "\"box\":[-10.0,30.0", "\"box\":[30.0,-10.0"),
                             with(lattice, "\"box\":[-10.0,30.0", "\"box\":[1e20,1e99"),
                             with(lattice, "\"controls\":[", "\"controls\":[null,"),
                             with(lattice, "\"controls\":[", "\"controls\":[1,"),
                             with(lattice, "\"controls\":[1.0", "\"controls\":[1e40"),
                             with(lattice, "\"boxToWorld\":[0.0,1.0", "\"boxToWorld\":[0.0,0.0"),
                             with(lattice, "\"referenceToModel\":[1.1", "\"referenceToModel\":[0"),
                             with(lattice, "\"referenceToModel\"", "\"matrix\"")};
  for (const std::string& content : bad) {
    writeFile(folder.file("bad.json"), content);
    EXPECT_THROW((void)host::readTransform(folder.file("bad.json")), host::HostError)
        << content.substr(0, 150);
  }
  host::OutputFiles outputs;
  EXPECT_THROW(host::writeTransform(outputs, folder.file("t.json"), Transform()), host::HostError);
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
