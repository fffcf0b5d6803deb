#include "resampling/RegBrickedResampler.h"

#include <cmath>
#include <random>

#include "foundation/voxels/volumeFrame.h"
#include "resampling/RegVoxelEvaluator.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RecordingProgress.h"
#include "tests/support/RowVolume.h"
#include "tests/support/volumeValues.h"
#include "tests/support/voxelTypes.h"

namespace {

/// A bricked resampling.
struct Scene {
  NmVec3i dims;
  NmBox3f voxelBox;
  NmBox3f gridBox;
  NmVec3i gridDims;
  NmDArray<NmVec3f> nodes = {};
  bool clampToGrid = false;
  bool clampToModel = false;
};

struct Place {
  float p;  ///< the voxel's position
  float c;  ///< where it is looked up
  int node = -1;
  float weight = 0.0f;
};

float limited(float value, float lower, float upper) {
  if (value < lower) value = lower;
  if (value > upper) value = upper;
  return value;
}

/// All voxels of an axis, the search for the node going on from voxel to voxel where positions
/// grow.
std::vector<Place> placesOf(const Scene& s, int axis) {
  const int n = s.gridDims[axis];
  std::vector<float> nodes;
  for (int i = 0; i < n; ++i)
    nodes.push_back(static_cast<float>(i) * (s.gridBox.max(axis) - s.gridBox.min(axis)) /
                        static_cast<float>(n - 1) +
                    s.gridBox.min(axis));
  const float size = (s.voxelBox.max(axis) - s.voxelBox.min(axis)) /
                     static_cast<float>(s.dims[axis] > 1 ? s.dims[axis] - 1 : 1);
  std::vector<Place> places;
  std::size_t i = 0;
  for (int voxel = 0; voxel < s.dims[axis]; ++voxel) {
    if (!(size > 0.0f)) i = 0;
    Place place{static_cast<float>(voxel) * size + s.voxelBox.min(axis), 0.0f};
    place.c = s.clampToGrid ? limited(place.p, s.gridBox.min(axis), s.gridBox.max(axis)) : place.p;
    float p = place.p;
    const bool isInside = p >= nodes.front() && p <= nodes.back();
    if (s.clampToGrid) p = limited(p, nodes.front(), nodes.back());
    if (isInside || s.clampToGrid) {
      while (i + 1 < nodes.size() && !(p <= nodes[i + 1])) ++i;
      const bool isFound = i + 1 < nodes.size();
      place.node = isFound ? static_cast<int>(i) : n - 2;
      place.weight = isFound ? (p - nodes[i]) / (nodes[i + 1] - nodes[i]) : 1.0f;
    }
    places.push_back(place);
  }
  return places;
}

float mix(float lower, float upper, float weight) {
  return (1.0f - weight) * lower + weight * upper;
}

NmVec3f mappedPosition(const Scene& s, const Place& x, const Place& y, const Place& z) {
  const long nx = s.gridDims.x;
  const long nxy = nx * s.gridDims.y;
  const long base = x.node + nx * y.node + nxy * z.node;
  const Place* const places[3] = {&x, &y, &z};
  NmVec3f result;
  for (int c = 0; c < 3; ++c) {
    const auto alongZ = [&](long i) {
      return mix(s.nodes[base + i][c], s.nodes[base + i + nxy][c], z.weight);
    };
    const float lower = mix(alongZ(0), alongZ(nx), y.weight);
    const float upper = mix(alongZ(1), alongZ(nx + 1), y.weight);
    const float t = mix(lower, upper, x.weight);
    result[c] = places[c]->p == places[c]->c ? t : places[c]->p + t - places[c]->c;
  }
  return result;
}

/// Voxel by voxel: eight nodes for each, one sampler location after the other.
template <class T>
std::vector<T> naiveResample(const Scene& s, VlData& model, VlEvaluator& evaluator,
                             float background) {
  const NmBox3f modelBox = voxreg::detail::boxOf(model);
  const std::vector<Place> xs = placesOf(s, 0), ys = placesOf(s, 1), zs = placesOf(s, 2);
  std::vector<T> voxels;
  for (const Place& z : zs)
    for (const Place& y : ys)
      for (const Place& x : xs) {
        float value = background;
        if (x.node >= 0 && y.node >= 0 && z.node >= 0) {
          NmVec3f position;
          NmMat4f().multVecMatrix(mappedPosition(s, x, y, z), position);
          for (int axis = 0; s.clampToModel && axis < 3; ++axis)
            position[axis] = limited(position[axis], modelBox.min(axis), modelBox.max(axis));
          if (evaluator.setLocation(position)) evaluator.value(&value);
        }
        voxels.push_back(naiveVoxel<T>(value));
      }
  return voxels;
}

/// Displaced nodes; the map leaves the model on all sides, and nodes of no number are among them.
Scene irregularScene() {
  Scene s = {.dims = {37, 9, 8},
             .voxelBox = {-4.3f, 31.7f, 10.0f, 27.1f, 0.5f, 7.3f},
             .gridBox = {-1.1f, 40.0f, 12.7f, 23.3f, 0.5f, 7.3f},
             .gridDims = {6, 3, 4}};
  std::mt19937 random(3);
  std::uniform_real_distribution<float> shift(-2.5f, 2.5f);
  for (int k = 0; k < s.gridDims.z; ++k)
    for (int j = 0; j < s.gridDims.y; ++j)
      for (int i = 0; i < s.gridDims.x; ++i) {
        const NmVec3f node(-2.0f + 8.0f * static_cast<float>(i) + shift(random),
                           12.0f + 5.5f * static_cast<float>(j) + shift(random),
                           2.2f * static_cast<float>(k) + shift(random));
        s.nodes.insert(s.nodes.size, 1, &node);
      }
  s.nodes[40].y = NAN;
  s.nodes[60].z = INFINITY;
  return s;
}

template <class T>
NmHandle<VlData> modelOf(std::vector<T>& voxels, NmPrimType type) {
  constexpr long n[3] = {21, 13, 9};
  std::mt19937 random(8);
  for (long i = 0; i < n[0] * n[1] * n[2]; ++i)
    voxels.push_back(std::is_floating_point_v<T> ? static_cast<T>(random()) / T(7)
                                                 : static_cast<T>(random()));
  if constexpr (std::is_floating_point_v<T>) {
    voxels[700] = static_cast<T>(NAN);
    voxels[900] = std::numeric_limits<T>::infinity();
  } else {
    voxels[700] = voxels[701] = std::numeric_limits<T>::max();
  }
  NmHandle<VlData> model = wrapVolume({n[0], n[1], n[2]}, type, 1, voxels.data());
  model->setBoundingBox({-2.0f, 33.0f, 9.0f, 25.0f, 0.0f, 6.5f});
  return model;
}

NmHandle<VlData> referenceOf(const Scene& s, NmPrimType type) {
  NmHandle<VlData> reference = makeVolume({s.dims.x, s.dims.y, s.dims.z}, type);
  reference->setBoundingBox(s.voxelBox);
  return reference;
}

NmHandle<VlMemoryData> run(Scene& s, VlData* reference, VlData* model,
                           RegResampler::FilterType filter = RegResampler::Triangle,
                           bool zeroBackground = true, NmProgressInterface* progress = nullptr,
                           int threads = 1) {
  return RegBrickedResampler().doResampling(reference, model, s.gridBox, s.nodes, s.gridDims,
                                            filter, threads, zeroBackground, s.clampToGrid,
                                            s.clampToModel, progress);
}

template <class T>
void expectSameVoxels(VlData& result, const std::vector<T>& expected, const std::string& label) {
  const NmHandle<VlDataAccess> access = result.lock(false);
  const T* const voxels = static_cast<const T*>(access->dataPtr(0));
  long different = 0;
  for (std::size_t i = 0; i < expected.size(); ++i)
    if (!(voxels[i] == expected[i] || (voxels[i] != voxels[i] && expected[i] != expected[i])))
      ++different;
  EXPECT_EQ(different, 0) << label << " of " << expected.size();
}

template <class T>
void compareWithNaive(Scene& s) {
  constexpr int type = voxelTypeNumber<T>;
  std::vector<T> voxels;
  const NmHandle<VlData> model = modelOf(voxels, type);
  const NmHandle<VlData> reference = referenceOf(s, type);
  float least = 0.0f, most = 0.0f;
  model->range(least, most, true);
  for (const auto filter : {RegResampler::Lanczos3, RegResampler::LanczosTest})
    for (int flags = 0; flags < 8; ++flags) {
      s.clampToGrid = (flags & 1) != 0;
      s.clampToModel = (flags & 2) != 0;
      const bool zeroBackground = (flags & 4) != 0;
      const NmHandle<VlEvaluator> evaluator = filter == RegResampler::Lanczos3
                                                  ? model->createEvaluatorLanczos()
                                                  : model->createEvaluator(VlData::Trilinear);
      const NmHandle<VlMemoryData> result = run(s, reference, model, filter, zeroBackground);
      ASSERT_NE(result, nullptr);
      EXPECT_EQ(voxreg::detail::boxOf(*result), s.voxelBox);
      EXPECT_EQ(result->primType(), type);
      expectSameVoxels(*result,
                       naiveResample<T>(s, *model, *evaluator, zeroBackground ? 0.0f : least),
                       "type " + std::to_string(type) + " filter " + std::to_string(filter) +
                           " flags " + std::to_string(flags));
    }
}

void compareAllTypes(Scene s) {
  const LogCapture log;
  forEachVoxelType([&]<class T>() { compareWithNaive<T>(s); });
}

TEST(BrickedResampling, EqualsTheNaiveWalkWithBoxesOfAllKinds) {
  Scene s = irregularScene();
  compareAllTypes(s);
  s.dims = {5, 1, 70};
  s.voxelBox = {31.0f, -2.0f, 20.0f, 20.0f, 9.0f, -3.0f};  // two axes the wrong way round
  compareAllTypes(s);
  s.gridBox = {-1.1f, 40.0f, 12.7f, INFINITY, 0.5f, 7.3f};
  compareAllTypes(s);
}

// In single precision the largest int is 2^31.
TEST(BrickedResampling, IntegersSaturateAtTheBackground) {
  const LogCapture log;
  Scene s = irregularScene();
  std::vector<int> voxels(8, 2147483647);
  const NmHandle<VlData> model = wrapVolume({2, 2, 2}, NmPrimType::Int, 1, voxels.data());
  const auto result = run(s, referenceOf(s, NmPrimType::Int), model, RegResampler::Box, false);
  EXPECT_EQ(*static_cast<int*>(result->lock(false)->dataPtr(0)), 2147483647);
}

TEST(BrickedResampling, RefusesInSilence) {
  Scene s = irregularScene();
  const NmHandle<VlData> reference = referenceOf(s, NmPrimType::Short);
  const NmHandle<VlData> model = makeVolume({4, 4, 4}, NmPrimType::Short);
  const auto refuses = [&](auto spoil) {
    Scene changed = s;
    spoil(changed);
    EXPECT_EQ(run(changed, reference, model), nullptr);
  };
  const LogCapture log;
  EXPECT_EQ(run(s, nullptr, model), nullptr);
  EXPECT_EQ(run(s, reference, nullptr), nullptr);
  EXPECT_EQ(run(s, reference, makeVolume({4, 4, 4}, NmPrimType::UnsignedShort)), nullptr);
  EXPECT_EQ(run(s, reference, makeVolume({4, 4, 4}, NmPrimType::Short, 2)), nullptr);
  EXPECT_EQ(run(s, makeVolume({4, 4, 4}, NmPrimType::Short, 2), model), nullptr);
  for (int axis = 0; axis < 3; ++axis)
    for (const int count : {1, 0, -6, 65536})
      refuses([&](Scene& changed) { changed.gridDims[axis] = count; });
  refuses([](Scene& changed) {
    changed.gridDims = {65536, 65536, 65536};
    changed.nodes.resize(0);
  });
  refuses([&](Scene& changed) { changed.nodes.insert(0, 1, s.nodes.data); });
  for (const float max : {-1.1f, -5.0f, NAN})
    refuses([&](Scene& changed) { changed.gridBox.xmax = max; });
  EXPECT_TRUE(isUnlocked(reference) && isUnlocked(model));
  EXPECT_EQ(run(s, reference, new RowVolume(model)), nullptr);
  const NmHandle<VlDataAccess> held = model->lock(true);
  for (const bool zeroBackground : {false, true})
    EXPECT_EQ(run(s, reference, model, RegResampler::Box, zeroBackground), nullptr);
  EXPECT_TRUE(log.lines.empty() && log.errors.empty());
}

/// A volume with a box that no volume of the library takes.
class Boxed : public WrappedVolume {
 public:
  using WrappedVolume::WrappedVolume;
  void boundingBox(NmBox3f& box) const override { box = {0, INFINITY, 0, NAN, 0, 1}; }
};

TEST(BrickedResampling, LogsOneLineOnSuccess) {
  const LogCapture log;
  Scene s = irregularScene();
  std::vector<float> noNumber(27, NAN);
  const NmHandle<VlData> model = wrapVolume({3, 3, 3}, NmPrimType::Float, 1, noNumber.data());
  const NmHandle<VlData> reference = referenceOf(s, NmPrimType::Float);
  EXPECT_NE(run(s, reference, model, RegResampler::Box, false), nullptr);
  EXPECT_NE(run(s, new Boxed(reference), model), nullptr);
  ASSERT_EQ(log.lines.size(), 2u);
  EXPECT_EQ(log.lines[0].substr(0, 23), "bricked resampling took");
  EXPECT_TRUE(log.errors.empty());
}

TEST(BrickedResampling, SkipsInterruptedSlicesAndGoesOn) {
  const LogCapture log;
  Scene s = irregularScene();
  s.clampToGrid = s.clampToModel = true;
  s.nodes[40].y = s.nodes[60].z = 1.0f;
  std::vector<float> ones(27, 1.0f);
  const NmHandle<VlData> model = wrapVolume({3, 3, 3}, NmPrimType::Float, 1, ones.data());
  RecordingProgress progress;
  std::string told;
  progress.onCall = [&] {
    if (progress.calls.back() == "poll") return;
    told += progress.calls.back() + ", ";
    progress.interrupted = progress.calls.back() == "value 38";
  };
  const auto result =
      run(s, referenceOf(s, NmPrimType::Float), model, RegResampler::Box, true, &progress, -3);
  EXPECT_EQ(told,
            "value 13, value 25, value 38, value 50, value 63, value 75, value 88, value 100, ");
  const std::vector<float> values = valuesOf(*result);
  for (std::size_t i = 0; i < values.size(); ++i)
    ASSERT_EQ(values[i], i / (37 * 9) == 2 ? 0.0f : 1.0f) << i;
  EXPECT_EQ(log.lines.size(), 1u);
}

TEST(BrickedResampling, EndsCleanWhereverMemoryRunsOut) {
  const LogCapture log;
  Scene s = irregularScene();
  const NmHandle<VlData> reference = referenceOf(s, NmPrimType::Short);
  const NmHandle<VlData> model = makeVolume({4, 4, 4}, NmPrimType::Short);
  model->lock(false);  // keeps the room in which it notes its readers
  NmHandle<VlMemoryData> result;
  const long attempts =
      failEachAllocation([&] { result = run(s, reference, model, RegResampler::Lanczos3, false); },
                         [&](bool hasFailed, bool threw) {
                           EXPECT_FALSE(threw);
                           EXPECT_EQ(result == nullptr, hasFailed);
                           result = nullptr;
                           EXPECT_TRUE(isUnlocked(model) && isUnlocked(reference));
                         });
  EXPECT_TRUE(attempts == 0 || attempts > 14);
}

/// Knows one value everywhere, and what it has been asked for.
class NotingEvaluator : public VlEvaluator {
 public:
  std::vector<NmVec3f> asked;

  bool setLocation(const NmVec3f& point) override {
    asked.push_back(point);
    return true;
  }
  void value(float* result) override { *result = 3.5f; }
  void values(float* results) override { *results = 3.5f; }
};

/// The arguments of the typed worker for four voxels in a row, the first of which is outside a grid
/// that maps (x, y, z) to (z, x, y).
struct Worker {
  NmVec3i dims{4, 1, 1};
  NmBox3f voxelBox{0, 3, 0, 1, 0, 1};
  NmBox3f gridBox{1, 3, 0, 1, 0, 1};
  NmVec3i gridDims{2, 2, 2};
  NmDArray<NmVec3f> nodes;
  NmDArray<int> indices[3];
  NmDArray<float> weights[3];
  NmDArray<NmHandle<VlEvaluator>> evaluators;
  NmMat4f matrix;
  NmBox3f modelBox{0, 1, 0, 2.5f, 0, 1};
  NotingEvaluator* evaluator = new NotingEvaluator;

  Worker() {
    for (int i = 0; i < 8; ++i) {
      const NmVec3f node(static_cast<float>(i / 4), 1.0f + 2.0f * static_cast<float>(i % 2),
                         static_cast<float>(i / 2 % 2));
      nodes.insert(i, 1, &node);
    }
    lookUp(false);
    const NmHandle<VlEvaluator> handle = evaluator;
    evaluators.insert(0, 1, &handle);
  }

  void lookUp(bool clampToGrid) {
    RegBrickedResampler::getIndicesAndWeights(dims, voxelBox, gridBox, gridDims, clampToGrid,
                                              indices[0], weights[0], indices[1], weights[1],
                                              indices[2], weights[2]);
  }

  template <class T>
  std::vector<T> run(bool isInteger, T lowest, T highest) {
    std::vector<T> output(4, T(77));
    brickedResampling<T>(output.data(), dims, voxelBox, 1, -9.0f, false, true, evaluators, gridDims,
                         gridBox, nodes, indices[0], weights[0], indices[1], weights[1], indices[2],
                         weights[2], matrix, modelBox, isInteger, lowest, highest, nullptr);
    return output;
  }
};

TEST(BrickedResamplingWorker, AsksForMappedPositionsAndWritesAsTold) {
  Worker worker;
  worker.matrix.m[3][1] = 0.25f;
  EXPECT_EQ(worker.run<float>(false, 0, 0), (std::vector<float>{-9.0f, 3.5f, 3.5f, 3.5f}));
  EXPECT_EQ(worker.evaluator->asked,
            (std::vector<NmVec3f>{{0, 1.25f, 0}, {0, 2.25f, 0}, {0, 2.5f, 0}}));
  EXPECT_EQ(worker.run<short>(true, -5, 3), (std::vector<short>{-5, 3, 3, 3}));
  EXPECT_EQ(worker.run<int>(true, -100, 100), (std::vector<int>{-9, 4, 4, 4}));
  EXPECT_EQ(worker.run<int>(false, -5, 2), (std::vector<int>{-9, 3, 3, 3}));
  EXPECT_EQ(worker.run<double>(true, -5, 100), (std::vector<double>{-5, 4, 4, 4}));
}

TEST(BrickedResamplingWorker, ArraysThatDoNotFitChangeNothing) {
  void (*const faults[])(Worker&) = {
      [](Worker& w) { w.indices[0].resize(3); },    [](Worker& w) { w.weights[2].resize(0); },
      [](Worker& w) { w.indices[0][1] = 1; },       [](Worker& w) { w.indices[1][0] = 1; },
      [](Worker& w) { w.indices[2][0] = -2; },      [](Worker& w) { w.nodes.resize(7); },
      [](Worker& w) { w.gridDims = {4, 2, 1}; },    [](Worker& w) { w.dims.y = -1; },
      [](Worker& w) { w.evaluators[0] = nullptr; }, [](Worker& w) { w.evaluators.resize(0); }};
  for (const auto& spoil : faults) {
    Worker worker;
    spoil(worker);
    EXPECT_EQ(worker.run<int>(true, -100, 100), std::vector<int>(4, 77)) << &spoil - faults;
  }
}

TEST(GetIndicesAndWeights, AreNoneForWhatIsNoGrid) {
  const struct {
    NmVec3i gridDims;
    float gridMin, gridMax;
    bool clampToGrid;
    int axis, index;
  } cases[] = {{{1, 4, 5}, 0, 4, true, 0, -1},         {{-7, 4, 5}, 0, 4, true, 2, -1},
               {{65536, 65536, 4}, 0, 4, true, 2, -1}, {{3, 4, 5}, NAN, 4, false, 0, -1},
               {{3, 4, 5}, 4, 0, false, 0, -1},        {{3, 4, 5}, NAN, 4, true, 0, 1}};
  for (const auto& c : cases) {
    Worker worker;
    worker.gridDims = c.gridDims;
    worker.gridBox = {c.gridMin, c.gridMax, c.gridMin, c.gridMax, c.gridMin, c.gridMax};
    worker.lookUp(c.clampToGrid);
    for (long i = 0; i < worker.dims[c.axis]; ++i)
      EXPECT_EQ(worker.indices[c.axis][i], c.index) << &c - cases;
  }
}

TEST(VoxelEvaluator, OnlyLanczos3IsNotLinear) {
  const NmHandle<VlMemoryData> volume =
      makeVolume({4, 4, 4}, [](double x, double, double) { return x * x; });
  for (int filter = -1; filter <= 11; ++filter) {
    RegVoxelEvaluator chooser(volume, static_cast<RegResampler::FilterType>(filter));
    NmHandle<VlEvaluator> evaluator;
    chooser.createEvalModel(evaluator);
    float value = 0.0f;
    EXPECT_TRUE(evaluator->setLocation({1.5f, 1.25f, 2.0f}));
    evaluator->value(&value);
    EXPECT_EQ(value != 2.5f, filter == RegResampler::Lanczos3) << filter;
    EXPECT_EQ(chooser.evaluator, nullptr);
    chooser.createEval(nullptr, evaluator);
    EXPECT_EQ(evaluator, nullptr);
    LogCapture log;
    chooser.createEval(NmHandle<VlData>(new RowVolume(volume)), evaluator);
    EXPECT_EQ(evaluator, nullptr);
    EXPECT_EQ(log.error(), "createEval: the voxels are not in one block of a supported type");
  }
  EXPECT_TRUE(isUnlocked(volume));
}

}  // namespace
