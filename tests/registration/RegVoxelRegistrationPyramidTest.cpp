#include <string>
#include <vector>

#include "resampling/RegResampler.h"
#include "tests/registration/registrationFixture.h"

namespace {

using Lines = std::vector<std::string>;
using Levels = NmDArray<NmDArray<NmHandle<VlData>>>;

struct Pyramid {
  Levels reference, model;
  Lines lines;

  explicit Pyramid(Settings settings) {
    LogCapture log;
    EXPECT_TRUE(settings.build()->doResampling(reference, settings.coarsest, model));
    EXPECT_TRUE(log.errors.empty());
    EXPECT_EQ(model.size, reference.size);
    lines = log.lines;
  }
  NmVec3l referenceDims(long level) const { return reference[level][0]->dims(); }
  NmVec3l modelDims(long level) const { return model[level][0]->dims(); }
};

Settings pairOf(const NmHandle<VlData>& reference, const NmHandle<VlData>& model,
                const NmVec3i& coarsest) {
  return {.reference = listOf({reference}), .model = listOf({model}), .coarsest = coarsest};
}

TEST(DoResampling, PlansTheReferenceAndLetsTheModelFollow) {
  const NmHandle<VlData> reference = emptyVolume({16, 17, 5});
  const NmHandle<VlData> model = emptyVolume({16, 16, 8}, {0.5f, 1.0f, 2.0f});
  const Pyramid pyramid(pairOf(reference, model, {4, 4, 1}));
  EXPECT_EQ(pyramid.lines, (Lines{"Sampling reference to: (2, 2, 1), voxelSize (2.00, 2.00, 1.00)",
                                  "Sampling model to: (4, 2, 1), voxelSize (2.00, 2.00, 2.00)",
                                  "Sampling reference to: (4, 4, 1), voxelSize (4.00, 4.00, 1.00)",
                                  "Sampling model to: (8, 4, 2), voxelSize (4.00, 4.00, 4.00)"}));
  ASSERT_EQ(pyramid.reference.size, 3);
  EXPECT_EQ(pyramid.reference[0][0], reference);
  EXPECT_EQ(pyramid.model[0][0], model);
  EXPECT_EQ(pyramid.referenceDims(1), NmVec3l(8, 9, 5));
  EXPECT_EQ(pyramid.referenceDims(2), NmVec3l(4, 5, 5));
  EXPECT_EQ(pyramid.modelDims(2), NmVec3l(2, 4, 4));
}

// Below three levels the model follows from the finest level on.
TEST(DoResampling, PadsToTwoLevels) {
  const NmHandle<VlData> reference = emptyVolume({8, 8, 8});
  const NmHandle<VlData> model = emptyVolume({16, 16, 16}, {0.5f, 0.5f, 0.5f});
  Settings settings = pairOf(reference, model, {1, 0, -3});
  const Pyramid padded(settings);
  EXPECT_EQ(padded.lines, (Lines{"Sampling model to: (2, 2, 2), voxelSize (1.00, 1.00, 1.00)",
                                 "Sampling reference to: (1, 1, 1), voxelSize (1.00, 1.00, 1.00)",
                                 "Sampling model to: (2, 2, 2), voxelSize (1.00, 1.00, 1.00)"}));
  ASSERT_EQ(padded.reference.size, 2);
  EXPECT_EQ(padded.reference[1][0], reference);
  EXPECT_EQ(padded.modelDims(0), NmVec3l(8, 8, 8));

  settings.affineStages = NmVec4i(-1, 0, 0, 0);  // on, but not above 0
  const Pyramid single(settings);
  ASSERT_EQ(single.reference.size, 1);
  EXPECT_EQ(single.modelDims(0), NmVec3l(8, 8, 8));

  settings.affineStages = NmVec4i();
  settings.coarsest = NmVec3i(4, 4, 4);
  const Pyramid grid(settings);
  ASSERT_EQ(grid.reference.size, 1);
  EXPECT_EQ(grid.model[0][0], model);
  EXPECT_TRUE(grid.lines.empty());
}

Lines planOf(const NmVec3l& dims, const NmVec3f& size, const NmVec3i& coarsest, bool keepCoarse) {
  Settings settings = pairOf(emptyVolume(dims, size), emptyVolume({16, 16, 16}), coarsest);
  settings.keepCoarseAxis = keepCoarse;
  Lines factors;
  for (const std::string& line : Pyramid(settings).lines)
    if (line.rfind("Sampling reference to: ", 0) == 0)
      factors.push_back(line.substr(23, line.find(", voxelSize") - 23));
  return factors;
}

TEST(DoResampling, LimitsFlatAndCoarseAxes) {
  const NmVec3l cube(16, 16, 16);
  EXPECT_EQ(planOf(cube, {1, 1, 3}, {4, 4, 4}, false), (Lines{"(2, 2, 1)", "(4, 4, 4)"}));
  EXPECT_EQ(planOf(cube, {1, 1, 3}, {4, 4, 4}, true), (Lines{"(2, 2, 1)", "(4, 4, 1)"}));
  EXPECT_EQ(planOf({16, 16, 1}, {1, 1, 3}, {4, 4, 4}, false), (Lines{"(2, 2, 1)", "(4, 4, 1)"}));
  EXPECT_EQ(planOf(cube, {1, 1, 0.125f}, {1, 1, 4}, false), (Lines{"(1, 1, 4)"}));
  // Without extent along x, which then sets no pace: half of the coarsest.
  EXPECT_EQ(planOf({1, 16, 16}, {0, 1, 1}, {4, 6, 4}, true), (Lines{"(1, 3, 2)", "(1, 6, 4)"}));
  EXPECT_EQ(planOf(cube, {1, 1, 1}, {2, 2, 2}, false), (Lines{"(2, 2, 2)"}));
  EXPECT_EQ(planOf(cube, {1, 1, 1}, {9, 3, 3}, false), (Lines{"(2, 2, 2)", "(9, 3, 3)"}));
}

TEST(DoResampling, FurtherReferencesJoinTheLevelsOfTheFirst) {
  Settings settings = pairOf(emptyVolume({16, 16, 16}), emptyVolume({16, 16, 16}), {4, 4, 4});
  const NmHandle<VlData> others[] = {emptyVolume({8, 8, 1}), emptyVolume({1, 1, 8}, {0, 0, 1})};
  settings.reference.insert(1, 2, others);
  const Pyramid pyramid(settings);
  ASSERT_EQ(pyramid.reference.size, 3);
  for (long j = 0; j < 3; ++j) {
    EXPECT_EQ(pyramid.reference[j].size, 3);
    EXPECT_EQ(pyramid.model[j].size, 1);
  }
  EXPECT_EQ(pyramid.reference[2][1]->dims(), NmVec3l(2, 2, 1));
  EXPECT_EQ(pyramid.reference[2][2]->dims(), NmVec3l(1, 1, 2));
}

TEST(DoResampling, FailsWithBothResultsEmpty) {
  const auto failsFor = [](const Volumes& reference, const Volumes& model) {
    Levels a, b;
    a.resize(2);
    b.resize(1);
    LogCapture log;
    const bool result =
        Settings{.reference = reference, .model = model}.build()->doResampling(a, {4, 4, 4}, b);
    EXPECT_EQ(a.size + b.size, 0);
    EXPECT_EQ(log.errors.size(), result ? 0u : 1u);
    return !result;
  };
  const NmHandle<VlData> solid = emptyVolume({8, 8, 8}), none;
  const NmHandle<VlData> crowded = makeVolume({8, 8, 8}, NmPrimType::Float, 7);
  EXPECT_TRUE(failsFor(listOf({solid}), Volumes()));
  EXPECT_TRUE(failsFor(listOf({solid}), listOf({none})));
  EXPECT_TRUE(failsFor(listOf({solid, none}), listOf({solid})));
  EXPECT_TRUE(failsFor(listOf({crowded}), listOf({solid})));
  EXPECT_TRUE(failsFor(listOf({solid}), listOf({crowded})));
  EXPECT_TRUE(failsFor(listOf({solid, crowded}), listOf({solid})));
  EXPECT_FALSE(failsFor(Volumes(), Volumes()));
}

TEST(Downsample, SharesSmoothsOrLeavesTheResult) {
  const auto registration = Settings().build();
  const NmHandle<VlData> source = makeBall(3.0);
  NmHandle<VlData> result;
  registration->downsample(source, result, {1, 1, 1}, RegDataClassFixedCube);
  EXPECT_EQ(result, source);
  for (const NmVec3i& bad : {NmVec3i(0, 2, 2), NmVec3i(2, -2, 2)})
    registration->downsample(source, result, bad, RegDataClassOrdinary);
  registration->downsample(NmHandle<VlData>(), result, {2, 2, 2}, RegDataClassOrdinary);
  EXPECT_EQ(result, source);

  registration->downsample(source, result, {2, 3, 4}, RegDataClassOrdinary);
  ASSERT_EQ(result->dims(), NmVec3l(5, 3, 3));
  NmHandle<VlData> expected;
  RegResampler().doResample(source, expected, {5, 3, 3}, nullptr, {}, RegResampler::Bell, 0, 1);
  EXPECT_EQ(valuesOf(*result), valuesOf(*expected));

  registration->downsample(source, result, {2, 1, 1}, RegDataClassFixedCubeVariant);
  EXPECT_EQ(result->dims(), NmVec3l(128, 128, 128));
}

}  // namespace
