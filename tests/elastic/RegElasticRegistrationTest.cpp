#include "elastic/RegElasticRegistration.h"

#include <regex>

#include "tests/elastic/elasticScenes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/StoppingProgress.h"

using namespace elasticScenes;

namespace {

NmVec3i toInt(const NmVec3l& n) {
  return {static_cast<int>(n.x), static_cast<int>(n.y), static_cast<int>(n.z)};
}

void expectSameTransform(const RegNonAffineTransform::NonAffineTransformDescriptor& a,
                         const RegNonAffineTransform::NonAffineTransformDescriptor& b, int label) {
  EXPECT_EQ(a.box, b.box) << label;
  EXPECT_EQ(a.numBricks, b.numBricks) << label;
  ASSERT_EQ(a.vertices.size, b.vertices.size) << label;
  EXPECT_EQ(std::memcmp(a.vertices.data, b.vertices.data,
                        static_cast<std::size_t>(a.vertices.size) * sizeof(double)),
            0)
      << label;
}

/// Runs a scene, and its registrations one by one, to the same bits.
void compareWithNaive(const Scene& scene, const Options& options, const NmBox3f& box,
                      const NmVec3i& dims) {
  const LogCapture log;
  RegElasticRegistration pipeline = pipelineOf(scene);
  pipeline.transform.vertices.resize(7);
  EXPECT_TRUE(run(pipeline, scene, options)) << scene.maxBricks;
  EXPECT_TRUE(isUnlocked(pipeline.reference) && isUnlocked(pipeline.model));
  const NaiveRun naive(pipeline, scene, options, box, dims);
  expectSameTransform(pipeline.transform, naive.transform, scene.maxBricks);
  EXPECT_GT(pipeline.transform.vertices.size, 0) << scene.maxBricks;
}

TEST(DoRegistration, RunsTheTableOfLevels) {
  for (const Scene& scene : scenes()) compareWithNaive(scene, {}, boxOf(scene), toInt(scene.dims));
}

TEST(DoRegistration, HandsItsSettingsOn) {
  Scene upright = scenes()[4];
  upright.dims = upright.levels[0] = {3, 64, 1};
  upright.maxBricks = 12;
  upright.refined.clear();
  Options options;
  options.metricFlag = 0;
  options.referenceRange = {300, 900};
  options.bricksAxis = 1;
  compareWithNaive(upright, options, boxOf(upright), toInt(upright.dims));

  const Scene scene = scenes()[3];
  options.metricFlag = 77;
  options.modelRange = {250, 800};
  options.bricksAxis = -1;
  options.useMasking = true;
  const NmBox3i roi(-5, 99, 2, 400, 1, 3);
  options.roi = &roi;
  const NmBox3f box = boxOf(scene);
  compareWithNaive(
      scene, options,
      {box.xmin, box.xmin + 99.0f, 5.0f + 2 * 1.5f, 5.0f + 11 * 1.5f, 0.8f, 3 * (3.2f / 4)},
      {100, 10, 3});
}

/// A scene without structure, on which nothing moves.
RegElasticRegistration constantPipeline(const NmVec3l& dims) {
  RegElasticRegistration pipeline;
  pipeline.reference = makeVolume(dims, NmPrimType::UnsignedShort);
  pipeline.model = makeVolume(dims, NmPrimType::UnsignedShort);
  return pipeline;
}

bool runConstant(RegElasticRegistration& pipeline, int maxBricks, const NmBox3i* roi = nullptr) {
  Options options;
  options.referenceRange = options.modelRange = {0, 100};
  options.roi = roi;
  Scene scene;
  scene.maxBricks = maxBricks;
  return run(pipeline, scene, options);
}

TEST(DoRegistration, KeepsTheFirstOfEqualGrids) {
  const LogCapture log;
  RegElasticRegistration pipeline = constantPipeline({64, 4, 2});
  EXPECT_TRUE(runConstant(pipeline, 100));
  EXPECT_EQ(pipeline.transform.numBricks, NmVec3i(18, 1, 1));
}

TEST(DoRegistration, TakesTheWholeVolumeForARegionWithoutVolume) {
  const LogCapture log;
  const auto widthOf = [](const NmBox3i* roi) {
    RegElasticRegistration pipeline = constantPipeline({64, 4, 3});
    EXPECT_TRUE(runConstant(pipeline, 12, roi));
    return pipeline.transform.box.xmax - pipeline.transform.box.xmin;
  };
  EXPECT_EQ(widthOf(nullptr), 63.0f);
  const int last = 2147483647;
  for (const NmBox3i& roi :
       {NmBox3i(), NmBox3i(0, 63, 0, 3, 0, 2), NmBox3i(-last, last, -9, 90, 0, 2),
        NmBox3i(8, 40, 3, 1, 0, 2), NmBox3i(8, 40, 1, 1, 0, 2), NmBox3i(70, 90, 0, 3, 0, 2),
        NmBox3i(8, 40, 0, 3, -9, -1)})
    EXPECT_EQ(widthOf(&roi), 63.0f);
  const NmBox3i inside(8, 40, 0, 3, 0, 2);
  EXPECT_EQ(widthOf(&inside), 32.0f);
}

TEST(DoRegistration, TellsWhatItDoes) {
  LogCapture log;
  const Scene scene = scenes()[0];
  RegElasticRegistration pipeline = pipelineOf(scene);
  RecordingProgress progress;
  pipeline.progress = &progress;
  EXPECT_TRUE(run(pipeline, scene));
  std::vector<std::string> lines;
  const std::regex ownLines("^(downsampling|  dims|reference|bricked)");
  const std::regex seconds("[0-9]+\\.[0-9]+ sec\\.");
  for (const std::string& line : log.lines)
    if (std::regex_search(line, ownLines))
      lines.push_back(std::regex_replace(line, seconds, "# sec."));
  // Coarser boxes keep the outer voxel edges: voxels of 1.17, 2.34, 4.69 and 9.38 over
  // -3.5 to 596.5, and on res1 voxels of 1.8 over 4.25 to 22.25 along y.
  EXPECT_EQ(lines,
            (std::vector<std::string>{
                "downsampling/copying reference to res1:",
                "  dims 512 10 3  bbox -2.91 595.91 5.15 21.35 0.00 40.00,  # sec.",
                "downsampling res1 to res2: dims 256 5 3  bbox -2.33 595.33 ... # sec.",
                "downsampling res2 to res4: dims 128 2 3  bbox -1.16 594.16 ... # sec.",
                "downsampling res4 to res8: dims 64 1 3  bbox 1.19 591.81 ... # sec.",
                "reference bbox -3.000 596.000 5.000 21.500 0.000 40.000",
                "bricked registration (res8): # sec.", "bricked registration (res4): # sec.",
                "bricked registration (res2): # sec.", "bricked registration (res1): # sec."}));
  EXPECT_TRUE(log.errors.empty());
  // Each registration opens and closes a separate task and reports its grid.
  std::vector<std::string> captions;
  for (const std::string& call : progress.calls)
    if (call.find("DOF") != std::string::npos) captions.push_back(call);
  EXPECT_EQ(captions.size(), 8u);
  EXPECT_EQ(captions[0], "Registering at resolution level 1 out of 1 (DOF = 60)");
  EXPECT_EQ(std::count(progress.calls.begin(), progress.calls.end(), "stop"), 8);
  EXPECT_EQ(
      std::count(progress.calls.begin(), progress.calls.end(), "start 100 Starting registration"),
      8);
}

TEST(DoRegistration, RefusesVolumesThatDoNotMatch) {
  LogCapture log;
  const auto refused = [&](const NmHandle<VlData>& reference, const NmHandle<VlData>& model) {
    RegElasticRegistration pipeline;
    pipeline.reference = reference;
    pipeline.model = model;
    pipeline.transform.vertices.resize(5);
    EXPECT_FALSE(runConstant(pipeline, 12));
    EXPECT_EQ(pipeline.transform.vertices.size, 5);
    EXPECT_TRUE(log.lines.empty());
    return log.error();
  };
  const NmHandle<VlData> volume = makeVolume({8, 4, 2}, NmPrimType::Short);
  const NmHandle<VlData> moved = makeVolume({8, 4, 2}, NmPrimType::Short);
  moved->setBoundingBox({0, 7, 0, 3, 0, 1.0000001f});
  EXPECT_EQ(refused(nullptr, volume), "RegElasticRegistration: reference or model undefined.");
  EXPECT_EQ(refused(volume, nullptr), "RegElasticRegistration: reference or model undefined.");
  EXPECT_EQ(refused(volume, makeVolume({8, 5, 2}, NmPrimType::Short)),
            "RegElasticRegistration: different dimensions of reference and model, not yet "
            "implemented.");
  EXPECT_EQ(refused(volume, moved),
            "RegElasticRegistration: different bounding boxes of reference and model, not yet "
            "implemented.");
}

TEST(DoRegistration, WithoutALevelThereIsNothingToDo) {
  const LogCapture log;
  const auto isEmptyRun = [](RegElasticRegistration& pipeline, int maxBricks) {
    pipeline.transform.vertices.resize(5);
    EXPECT_TRUE(runConstant(pipeline, maxBricks));
    return pipeline.transform.vertices.size == 0 && pipeline.transform.numBricks == NmVec3i();
  };
  // Too wide for res1 without refinement, with a flat coarser level.
  RegElasticRegistration wide = constantPipeline({310, 1, 2});
  EXPECT_TRUE(isEmptyRun(wide, 12));
  RegElasticRegistration line = constantPipeline({64, 1, 1});
  EXPECT_TRUE(isEmptyRun(line, 40));
  RegElasticRegistration thin = constantPipeline({64, 4, 2});
  for (VlData* volume : {thin.reference.get(), thin.model.get()})
    volume->setBoundingBox({0, 63, 1, 1, 0, 1});
  EXPECT_TRUE(isEmptyRun(thin, 40));
  RegElasticRegistration held = constantPipeline({64, 4, 2});
  const NmHandle<VlDataAccess> access = held.model->lock(true);
  EXPECT_TRUE(isEmptyRun(held, 40));
}

TEST(DoRegistration, WalksOnAfterAnInterruptedRefinement) {
  const LogCapture log;
  RecordingProgress progress;
  progress.onCall = [&] {
    progress.interrupted = progress.progressInfo().find("(DOF = 228)") != std::string::npos;
  };  // 3 * 19 * 2 * 2
  RegElasticRegistration pipeline = constantPipeline({64, 4, 2});
  pipeline.progress = &progress;
  EXPECT_FALSE(runConstant(pipeline, 40));
  // 40 bricks asked for, of which a transform holds 32; none is given up to an earlier one.
  EXPECT_EQ(pipeline.transform.numBricks, NmVec3i(32, 3, 1));
  EXPECT_NE(std::find(progress.calls.begin(), progress.calls.end(),
                      "Registering at resolution level 1 out of 1 (DOF = 984)"),
            progress.calls.end());
}

TEST(DoRegistration, EndsCleanWhereverItIsInterrupted) {
  const LogCapture log;
  const Scene scene = scenes()[4];
  bool ended = false;
  for (long poll = 0; !ended && poll < 1000000; poll += poll < 20 ? 1 : poll / 3) {
    StoppingProgress progress;
    progress.limit = poll;
    RegElasticRegistration pipeline = pipelineOf(scene);
    pipeline.progress = &progress;
    const bool ok = run(pipeline, scene);
    ended = progress.polls <= poll;
    ASSERT_EQ(ok, ended) << poll;
    const NmVec3i& n = pipeline.transform.numBricks;
    const long fitting = (3L * n.x + 3) * (n.y + 1L) * (n.z + 1L);
    EXPECT_EQ(pipeline.transform.vertices.size, n == NmVec3i() ? 0 : fitting) << poll;
    EXPECT_TRUE(isUnlocked(pipeline.reference) && isUnlocked(pipeline.model)) << poll;
  }
  EXPECT_TRUE(ended);
}

TEST(DoRegistration, EndsCleanWhereverMemoryRunsOut) {
  const LogCapture log;
  RegElasticRegistration pipeline = constantPipeline({80, 4, 2});
  pipeline.reference->lock(false);  // keeps the room in which it notes its readers
  pipeline.model->lock(false);
  bool passed = false, everThrew = false;
  const long attempts = failEachAllocation(
      [&] {
        EXPECT_TRUE(runConstant(pipeline, 18));
        passed = true;
      },
      [&](bool, bool threw) {
        everThrew |= threw;
        pipeline.transform = {};
        EXPECT_TRUE(isUnlocked(pipeline.reference) && isUnlocked(pipeline.model));
      },
      53);
  EXPECT_TRUE(attempts == 0 || (passed && everThrew && attempts > 400));
}

TEST(InvokeVoxelRegistration, LeavesTheTransformWhereItFails) {
  const LogCapture log;
  RegElasticRegistration pipeline = constantPipeline({64, 4, 2});
  pipeline.transform.box = {0, 63, 0, 3, 0, 1};
  const auto invoke = [&](const NmVec3i& bricks, const NmVec2f& steps, double* value) {
    return pipeline.invokeVoxelRegistration(pipeline.reference, pipeline.model, bricks, steps,
                                            {0, 100}, {0, 100}, 1, value);
  };
  double value = 5.0;
  EXPECT_FALSE(invoke({1, 0, 1}, {1, 1}, &value));
  EXPECT_EQ(value, -1000.0);
  EXPECT_FALSE(invoke({1, 1, 1}, {0, 1}, nullptr));
  EXPECT_FALSE(pipeline.invokeVoxelRegistration(nullptr, pipeline.model, {1, 1, 1}, {1, 1}, {}, {},
                                                1, nullptr));
  EXPECT_EQ(pipeline.transform.vertices.size, 0);
  EXPECT_EQ(pipeline.numEvaluations, 0);
  EXPECT_TRUE(invoke({18, 1, 1}, {1, 1}, &value));
  EXPECT_NE(value, -1000.0);
  const auto evaluations = pipeline.numEvaluations;
  EXPECT_GT(evaluations, 0);
  EXPECT_GT(pipeline.numGradients, 0);
  EXPECT_TRUE(invoke({18, 1, 1}, {1, 1}, &value));
  EXPECT_GT(pipeline.numEvaluations, evaluations);
  EXPECT_TRUE(invoke({100, 1, 2147483647}, {1, 1}, nullptr));
  EXPECT_EQ(pipeline.transform.numBricks, NmVec3i(32, 1, 32));
  EXPECT_EQ(pipeline.transform.vertices.size, 99 * 2 * 33);
}

}  // namespace
