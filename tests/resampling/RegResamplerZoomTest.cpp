#include <cmath>
#include <cstring>
#include <random>

#include "resampling/RegResampler.h"
#include "tests/resampling/filterTable.h"
#include "tests/support/RowVolume.h"
#include "tests/support/volumeValues.h"
#include "tests/support/voxelTypes.h"

namespace {

NmHandle<VlData> zoomed(VlData& source, const NmVec3f& dims, RegResampler::FilterType filter) {
  NmHandle<VlData> result;
  EXPECT_TRUE(RegResampler().doResample(&source, result, dims, nullptr, {}, filter, 0.0f, 1));
  return result;
}

/// Values of a volume in double precision, resampled axis by axis.
struct Naive {
  long dims[4];  ///< data variables, x, y, z
  std::vector<double> values;

  void zoom(int axis, double length, const FilterRow& filter, bool integers) {
    long before = 1, after = 1;
    for (int k = 0; k < 4; ++k) (k < axis ? before : after) *= k == axis ? 1 : dims[k];
    const long numIn = dims[axis], numOut = static_cast<long>(std::ceil(length));
    const double scale = length / static_cast<double>(numIn);
    const double stretch = std::fmax(1.0 / scale, 1.0);
    std::vector<double> out(static_cast<std::size_t>(before * numOut * after));
    for (long i = 0; i < numOut; ++i) {
      const double c = (static_cast<double>(i) + 0.5 - static_cast<double>(numOut) * 0.5) / scale +
                       static_cast<double>(numIn - 1) * 0.5;
      for (long a = 0; a < after; ++a)
        for (long b = 0; b < before; ++b) {
          double sum = 0.0, weights = 0.0;
          for (long j = 0; j < numIn; ++j) {
            const double weight = filter.exact(std::fabs(c - static_cast<double>(j)) / stretch);
            sum += weight * values[static_cast<std::size_t>((a * numIn + j) * before + b)];
            weights += weight;
          }
          const double mean = sum / weights;
          out[static_cast<std::size_t>((a * numOut + i) * before + b)] =
              integers ? std::rint(mean) : mean;
        }
    }
    values.swap(out);
    dims[axis] = numOut;
  }
};

// A half that falls to the other side in one pass may move the result of the next by one.
template <class T>
void compareWithNaive(int ch, const FilterRow& filter, const std::vector<float>& values) {
  constexpr int type = voxelTypeNumber<T>;
  constexpr bool isInteger = std::is_integral_v<T>;
  const NmHandle<VlMemoryData> source = volumeOf({19, 21, 18}, type, ch, values);
  const std::vector<float> start = valuesOf(*source);
  Naive naive = {{ch, 19, 21, 18}, {start.begin(), start.end()}};
  const NmVec3f lengths(9.5f, 31.5f, 11.0f);
  for (int axis = 0; axis < 3; ++axis)
    naive.zoom(axis + 1, static_cast<double>(lengths[axis]), filter, isInteger);
  const NmHandle<VlData> result = zoomed(*source, lengths, filter.type);
  ASSERT_EQ(result->dims(), NmVec3l(10, 32, 11));
  const std::vector<float> found = valuesOf(*result);
  double worst = 0.0, total = 0.0;
  for (std::size_t i = 0; i < found.size(); ++i) {
    const double error = std::fabs(static_cast<double>(found[i]) - naive.values[i]);
    worst = std::fmax(worst, error);
    total += error;
  }
  const double mean = total / static_cast<double>(found.size());
  EXPECT_LE(worst, isInteger ? 2.0 : 5e-4) << type << " " << filter.type << " " << ch;
  EXPECT_LE(mean, isInteger ? 0.05 : 5e-5) << type << " " << filter.type << " " << ch;
}

TEST(Zoom3d, FollowsANaiveReferenceForEveryTypeFilterAndComponent) {
  for (int ch = 1; ch <= 6; ++ch) {
    const auto values = generate(ch * 19 * 21 * 18, [ch](long i) {
      const auto voxel = static_cast<double>(i / ch);
      return 120.0 + 12.0 * static_cast<double>(i % ch) + 30.0 * std::sin(0.5 * voxel) +
             20.0 * std::cos(0.03 * voxel);
    });
    for (const FilterRow& filter : filterTable)
      if (ch <= 2 || filter.type == ch)
        forEachVoxelType([&]<class T>() { compareWithNaive<T>(ch, filter, values); });
  }
}

/// `source` resampled in blocks of lines and, through rows alone, line by line.
void expectSameByRows(const NmHandle<VlMemoryData>& source, const NmVec3f& lengths,
                      RegResampler::FilterType filter) {
  const NmHandle<VlData> block = zoomed(*source, lengths, filter);
  const NmPrimType type = source->primType();
  const NmHandle<VlMemoryData> rows = makeVolume(block->dims(), type, source->numDataVars());
  NmHandle<VlData> rowSource = new RowVolume(source), result = new RowVolume(rows);
  ASSERT_TRUE(RegResampler().doResample(rowSource, result, lengths, nullptr, {}, filter, 0, 1));
  const auto size = static_cast<std::size_t>(NmPrimType::primTypeSize[type]);
  EXPECT_EQ(std::memcmp(block->lock(false)->dataPtr(0), rows->lock(false)->dataPtr(0),
                        valuesOf(*block).size() * size),
            0)
      << type << " " << source->numDataVars() << " " << filter << " " << lengths.x;
}

// Adjacent lines are resampled together, in portions; one by one they must give the same result.
TEST(Zoom3d, BlocksOfLinesAndLoneLinesGiveTheSameBits) {
  const std::pair<NmVec3l, NmVec3f> cases[] = {{{21, 37, 6}, {10.5f, 18.5f, 9.0f}},
                                               {{21, 5, 7}, {30.0f, 5.0f, 7.0f}},
                                               {{9, 17, 1}, {4.0f, 25.5f, 1.0f}},
                                               {{130, 2, 700}, {130.0f, 2.0f, 345.0f}}};
  std::mt19937 random(7);
  for (const auto& zoom : cases)
    for (const int ch : {1, 3})
      forEachVoxelType([&]<class T>() {
        const auto values = generate(zoom.first.x * zoom.first.y * zoom.first.z * ch, [&](long i) {
          return i % 301 == 0 ? std::nan("") : static_cast<double>(random() % 70000) - 2000.0;
        });
        const NmHandle<VlMemoryData> source = volumeOf(zoom.first, voxelTypeNumber<T>, ch, values);
        for (const auto filter :
             {RegResampler::Box, RegResampler::Lanczos3, RegResampler::Triangle})
          expectSameByRows(source, zoom.second, filter);
      });
}

TEST(Zoom3d, BoxAveragesAlongYAndZOnlyAtTheRatioOfX) {
  // 2 on x; 2.5 rows of 5 have the same ratio, but their own one is 5 / 3, cut to 1.
  const auto tens = generate(2 * 4 * 5, [](long i) { return 10 * i; });
  const std::vector<float> found = valuesOf(*zoomed(
      *volumeOf({4, 5, 1}, NmPrimType::Float, 2, tens), {2.0f, 2.5f, 1.0f}, RegResampler::Box));
  EXPECT_EQ(found, generate(12, [](long i) {
              const long y = i / 4, x = i % 4;
              return 5 * (8 * y + 4 * (x / 2) + x % 2 + 1);
            }));

  // 3 on y goes through lists, whose weights are rounded before they are summed.
  const float v[3] = {0.1f, 0.7f, 0.4f};
  const auto column = generate(2 * 2 * 3, [&](long i) { return v[i / 4]; });
  const float scale = 1.0f / 3.0f, inverse = 1.0f / scale;
  float weight = 1.0f / inverse;
  weight /= weight + weight + weight;
  EXPECT_EQ(valuesOf(*zoomed(*volumeOf({2, 3, 1}, NmPrimType::Float, 2, column), {1, 1, 1},
                             RegResampler::Box))[0],
            v[0] * weight + v[1] * weight + v[2] * weight);
}

// Whole cells are averaged with one rounding, everything else with one for each axis.
TEST(Zoom3d, AnUnknownFilterIsABoxThatNeverAveragesWholeCells) {
  const std::vector<float> values = {0, 1, 0, 1, 1, 1, 1, 1};
  const NmHandle<VlMemoryData> source = volumeOf({2, 2, 2}, NmPrimType::Short, 1, values);
  const NmVec3f one(1.0f, 1.0f, 1.0f);
  EXPECT_EQ(valuesOf(*zoomed(*source, one, RegResampler::Box))[0], 1.0f);
  for (const int other : {11, -1})
    EXPECT_EQ(valuesOf(*zoomed(*source, one, static_cast<RegResampler::FilterType>(other)))[0],
              0.0f);
}

TEST(Zoom3d, BesideTheVolumeEverythingIsZero) {
  const NmHandle<VlMemoryData> source =
      volumeOf({8, 9, 7}, NmPrimType::Float, 1, std::vector<float>(504, 113.0f));
  RegResampler resampler{.filterShift = 20.0f};
  for (const NmVec3f& lengths : {NmVec3f(4, 9, 7), NmVec3f(8, 4, 7)}) {
    NmHandle<VlData> result;
    EXPECT_TRUE(
        resampler.doResample(source, result, lengths, nullptr, {}, RegResampler::Bell, 0, 1));
    const std::vector<float> found = valuesOf(*result);
    EXPECT_EQ(found, std::vector<float>(found.size(), 0.0f));
  }
}

TEST(Zoom3d, ExtremesFollowCellsWhoseEndsAddUp) {
  const auto values = generate(5 * 3 * 2, [](long i) { return (7 * i) % 31 - 40; });
  const NmHandle<VlMemoryData> source = volumeOf({5, 3, 2}, NmPrimType::Float, 1, values);
  // Half-voxel cells: every second one holds no voxel's position.
  const NmHandle<VlMemoryData> pair = volumeOf({2, 1, 1}, NmPrimType::UnsignedChar, 1, {9, 7});
  for (const auto kind : {RegResampler::Minimum, RegResampler::Maximum}) {
    const bool isMinimum = kind == RegResampler::Minimum;
    std::vector<float> expected(6, isMinimum ? 1e9f : -1e9f);
    for (std::size_t i = 0; i < values.size(); ++i) {
      float& best = expected[i / 15 * 3 + i % 5 / 2];
      best = isMinimum ? std::fmin(best, values[i]) : std::fmax(best, values[i]);
    }
    EXPECT_EQ(valuesOf(*zoomed(*source, {2.5f, 1.0f, 2.0f}, kind)), expected) << kind;
    const float none = isMinimum ? 255 : 0;
    EXPECT_EQ(valuesOf(*zoomed(*pair, {4, 1, 1}, kind)), (std::vector<float>{9, none, 7, none}));
  }
}

}  // namespace
