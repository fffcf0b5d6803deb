#include "foundation/VlEvaluator.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <type_traits>
#include <vector>

#include "tests/support/volumes.h"
#include "tests/support/voxelTypes.h"

namespace {

constexpr long n[3] = {7, 5, 4};
const NmBox3f box(-3.0f, 9.0f, 10.0f, 11.0f, 0.5f, 2.75f);

double sinc(double x) {
  return x == 0.0 ? 1.0 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
}
/// Of the nearest voxel, trilinear and Lanczos, by the distance in voxels.
double (*const weights[])(double) = {
    [](double d) { return d < 0.5 ? 1.0 : 0.0; }, [](double d) { return std::max(0.0, 1.0 - d); },
    [](double d) { return d < 3.0 ? sinc(d) * sinc(d / 3.0) : 0.0; }};

/// Every voxel of the volume, weighted by its distance on each axis, over the sum of weights.
template <class T>
double naiveSample(const std::vector<T>& voxels, int variable, const NmVec3f& point,
                   double (*weight)(double)) {
  double sum = 0.0, total = 0.0;
  for (long z = 0; z < n[2]; ++z)
    for (long y = 0; y < n[1]; ++y)
      for (long x = 0; x < n[0]; ++x) {
        const long at[3] = {x, y, z};
        double w = 1.0;
        for (int axis = 0; axis < 3; ++axis) {
          const double low = box.min(axis), high = box.max(axis);
          const double voxel = (high - low) / static_cast<double>(n[axis] - 1);
          const double position = (static_cast<double>(point[axis]) - low) / voxel;
          w *= weight(std::fabs(position - static_cast<double>(at[axis])));
        }
        const long index = (x + n[0] * (y + n[1] * z)) * 2 + variable;
        sum += w * static_cast<double>(voxels[static_cast<unsigned long>(index)]);
        total += w;
      }
  return sum / total;
}

NmHandle<VlEvaluator> evaluatorOf(const NmHandle<VlMemoryData>& volume, int kind) {
  return kind == 2 ? volume->createEvaluatorLanczos()
                   : volume->createEvaluator(static_cast<VlData::EvaluatorFilter>(kind));
}

float valueOf(VlEvaluator& evaluator) {
  float value = 7.0f;
  evaluator.value(&value);
  return value;
}

template <class T>
void compareWithNaive() {
  constexpr int type = voxelTypeNumber<T>;
  std::mt19937 random(11);
  std::vector<T> voxels;
  for (long i = 0; i < n[0] * n[1] * n[2] * 2; ++i)
    voxels.push_back(static_cast<T>(random() % 200));
  const NmHandle<VlMemoryData> volume = wrapVolume({n[0], n[1], n[2]}, type, 2, voxels.data());
  volume->setBoundingBox(box);
  std::uniform_real_distribution<float> share(0.0f, 1.0f);
  for (int kind = 0; kind < 3; ++kind) {
    const NmHandle<VlEvaluator> evaluator = evaluatorOf(volume, kind);
    for (int i = 0; i < 300; ++i) {
      NmVec3f point;
      for (int axis = 0; axis < 3; ++axis)
        point[axis] = box.min(axis) + share(random) * box.extent(axis);
      ASSERT_TRUE(evaluator->setLocation(point));
      float all[2];
      evaluator->values(all);
      EXPECT_EQ(valueOf(*evaluator), all[0]);
      for (int v = 0; v < 2; ++v)
        EXPECT_NEAR(all[v], naiveSample(voxels, v, point, weights[kind]), 1e-4) << type << kind;
    }
  }
}

TEST(VlEvaluator, SamplesAsTheNaiveSum) {
  forEachVoxelType([]<class T>() { compareWithNaive<T>(); });
}

// A NaN or an infinity in a neighbour has no weight at a voxel's own position.
TEST(VlEvaluator, VoxelPositionsGiveTheVoxel) {
  float voxels[5] = {1e30f, std::nanf(""), 3.0f, std::numeric_limits<float>::infinity(), -4.7f};
  const NmHandle<VlMemoryData> volume = wrapVolume({5, 1, 1}, NmPrimType::Float, 1, voxels);
  for (int kind = 0; kind < 3; ++kind) {
    const NmHandle<VlEvaluator> evaluator = evaluatorOf(volume, kind);
    for (const int x : {0, 2, 3, 4}) {
      ASSERT_TRUE(evaluator->setLocation(NmVec3f(static_cast<float>(x), 0.5f, 0.0f)));
      EXPECT_EQ(valueOf(*evaluator), voxels[x]) << kind;
    }
  }
}

/// Samples one point and variable at a time, whatever the underlying sampler overrides.
class PointByPoint : public VlEvaluator {
 public:
  explicit PointByPoint(const NmHandle<VlEvaluator>& inner) : inner_(inner) {}
  bool setLocation(const NmVec3f& point) override { return inner_->setLocation(point); }
  void value(float* result) override { inner_->value(result); }

 private:
  NmHandle<VlEvaluator> inner_;
};

/// Points within and around the box, at voxels and between them, and such as are no points.
std::vector<float> coordinatesAround(int axis, long count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> place(-0.2f, 1.2f);
  const float odd[] = {std::nanf(""), std::numeric_limits<float>::infinity(), -3e38f};
  std::vector<float> coordinates;
  for (long i = 0; i < count; ++i) {
    float share = place(random);
    if (i % 3 == 0) share = std::round(share * 12.0f) / 12.0f;
    coordinates.push_back(i % 41 == 0 ? odd[random() % 3]
                                      : box.min(axis) + share * (box.max(axis) - box.min(axis)));
  }
  return coordinates;
}

template <class T>
void compareManyWithSingle() {
  constexpr int type = voxelTypeNumber<T>;
  std::mt19937 random(5);
  std::vector<T> voxels;
  for (long i = 0; i < n[0] * n[1] * n[2] * 2; ++i) voxels.push_back(static_cast<T>(random()));
  if constexpr (std::is_floating_point_v<T>) {
    voxels[40] = std::numeric_limits<T>::quiet_NaN();
    voxels[100] = -std::numeric_limits<T>::infinity();
    voxels[102] = std::numeric_limits<T>::max();
    for (std::size_t i = 120; i < voxels.size(); ++i) voxels[i] = -T(0);
  }
  const NmHandle<VlMemoryData> volume = wrapVolume({n[0], n[1], n[2]}, type, 2, voxels.data());
  volume->setBoundingBox(box);
  constexpr long count = 3001;
  const auto x = coordinatesAround(0, count, 1);
  const auto y = coordinatesAround(1, count, 2);
  const auto z = coordinatesAround(2, count, 3);
  for (int kind = 0; kind < 3; ++kind) {
    const NmHandle<VlEvaluator> evaluator = evaluatorOf(volume, kind);
    std::vector<float> many(count), single(count);
    evaluator->sample(x.data(), y.data(), z.data(), count, 7.5f, many.data());
    PointByPoint(evaluator).sample(x.data(), y.data(), z.data(), count, 7.5f, single.data());
    for (std::size_t i = 0; i < many.size(); ++i)
      EXPECT_TRUE(std::bit_cast<int>(many[i]) == std::bit_cast<int>(single[i]) ||
                  (std::isnan(many[i]) && std::isnan(single[i])))
          << type << kind << " " << many[i] << " " << single[i];
    EXPECT_GT(std::count(many.begin(), many.end(), 7.5f), count / 4);
    float value = 0.0f;
    PointByPoint(evaluator).values(&value);
    EXPECT_EQ(std::bit_cast<int>(value), std::bit_cast<int>(valueOf(*evaluator)));
  }
}

TEST(VlEvaluator, ManyPointsGiveTheBitsOfSingleOnes) {
  forEachVoxelType([]<class T>() { compareManyWithSingle<T>(); });
}

TEST(VlEvaluator, RefusedLocationsLeaveItWhereItWas) {
  short voxels[] = {10, 20, 30, 40};
  const auto evaluator =
      wrapVolume({4, 1, 1}, NmPrimType::Short, 1, voxels)->createEvaluator(VlData::Trilinear);
  EXPECT_EQ(valueOf(*evaluator), 0.0f);
  ASSERT_TRUE(evaluator->setLocation(NmVec3f(1.5f, 0.0f, 0.0f)));
  for (const float bad : {-0.01f, 3.01f, std::nanf(""), INFINITY, -INFINITY, 3e38f})
    for (int axis = 0; axis < 3; ++axis) {
      NmVec3f point;
      point[axis] = bad;
      EXPECT_FALSE(evaluator->setLocation(point));
    }
  EXPECT_EQ(valueOf(*evaluator), 25.0f);
  EXPECT_TRUE(evaluator->setLocation(NmVec3f(3.0005f, 1.0005f, -0.0005f)));
  EXPECT_EQ(valueOf(*evaluator), 40.0f);
  evaluator->value(nullptr);
  evaluator->values(nullptr);
}

TEST(VlEvaluator, NoBoxLeadsOutOfTheVoxels) {
  const float huge = std::numeric_limits<float>::max();
  const float tiny = std::numeric_limits<float>::denorm_min();
  const struct {
    float min, max, point;
    bool flat, thick;  // accepted with one voxel on the axis, and with three
  } cases[] = {{5.0f, 5.0f, 5.0f, true, false},  {5.0f, 5.0f, 5.000001f, true, false},
               {5.0f, 5.0f, 5.1f, false, false}, {0.0f, 0.0f, 0.0f, true, false},
               {2.0f, 1.0f, 1.5f, false, false}, {2.0f, 1.0f, 2.0f, false, false},
               {-huge, huge, 0.0f, true, true},  {-huge, huge, huge, true, true},
               {0.0f, tiny, tiny, true, true},   {1e6f, 1e6f + 0.0625f, 1e6f, true, true}};
  for (const auto& c : cases)
    for (const long size : {1L, 3L})
      for (int kind = 0; kind < 3; ++kind) {
        const NmHandle<VlMemoryData> volume = makeVolume({1, size, 1}, NmPrimType::Short);
        ASSERT_TRUE(volume->setBoundingBox({0.0f, 1.0f, c.min, c.max, 0.0f, 1.0f}).isOk());
        const NmHandle<VlEvaluator> evaluator = evaluatorOf(volume, kind);
        EXPECT_EQ(evaluator->setLocation(NmVec3f(0.5f, c.point, 0.5f)),
                  size == 1 ? c.flat : c.thick)
            << c.min << " " << c.max << " " << c.point << " " << size;
        EXPECT_EQ(valueOf(*evaluator), 0.0f);
      }
}

TEST(VlEvaluator, HoldsAReadLockForItsLife) {
  NmHandle<VlMemoryData> volume = makeVolume({2, 2, 2}, NmPrimType::Short);
  NmHandle<VlEvaluator> evaluator = volume->createEvaluator(VlData::NearestNeighbour);
  EXPECT_FALSE(volume->tryLock(true));
  EXPECT_TRUE(volume->tryLock(false));
  evaluator = nullptr;
  EXPECT_TRUE(volume->tryLock(true));
  evaluator = volume->createEvaluator(VlData::Trilinear);
  volume = nullptr;
  EXPECT_TRUE(evaluator->setLocation(NmVec3f(1.0f, 1.0f, 1.0f)));
  EXPECT_EQ(valueOf(*evaluator), 0.0f);
}

}  // namespace
