#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <utility>
#include <vector>

#include "elastic/RegElasticRegistration.h"
#include "tests/elastic/shortVolume.h"
#include "tests/support/LogCapture.h"

namespace {

using Lines = std::vector<std::string>;
/// Raw values and how often each occurs.
using Counts = std::vector<std::pair<int, int>>;

NmHandle<VlData> volumeOf(const Counts& counts) {
  std::vector<int> values;
  for (const auto& [value, count] : counts)
    values.insert(values.end(), static_cast<std::size_t>(count), value);
  // Neither sorted nor in runs.
  return makeVolume(
      {static_cast<long>(values.size()), 1, 1},
      [&](double x, double, double) {
        return values[(static_cast<std::size_t>(x) * 7919 + 1) % values.size()];
      },
      NmPrimType::UnsignedShort);
}

NmVec2f referenceRange(const Counts& counts, int low, int high, const NmVec2f& rescale = {1, 0}) {
  NmVec2f range;
  NmVec2f modelRange(-7, -7);
  const RegElasticRegistration elastic{nullptr, volumeOf(counts), nullptr, {}, 1};
  EXPECT_TRUE(elastic.findRanges(false, low, high, rescale, {1, 0}, range, modelRange));
  EXPECT_EQ(modelRange, range);
  return range;
}

TEST(FindRanges, RaisesTheLowerLimitOfTheReference) {
  LogCapture log;
  // 10 becomes 40, below which 60 % lie.
  EXPECT_EQ(referenceRange({{0, 60}, {50, 30}, {900, 10}}, 10, 1000), NmVec2f(40, 900));
  EXPECT_EQ(log.lines,
            Lines({"findRanges: full range of reference: 0 900", "40.00% of volume above minRef"}));
  log.lines.clear();
  EXPECT_EQ(referenceRange({{0, 200}, {45, 300}, {60, 200}, {600, 300}}, 10, 1000).x, 60);
  EXPECT_EQ(log.lines[1], "50.00% of volume above minRef");
  // Levels: 4 * 250 <= 1000 doubles, 251 does not.
  EXPECT_EQ(referenceRange({{0, 60}, {900, 40}}, 250, 1000).x, 500);
  EXPECT_EQ(referenceRange({{0, 60}, {900, 40}}, 251, 1000).x, 251);
  EXPECT_EQ(referenceRange({{0, 60}, {900, 40}}, 0, 1000).x, 0);
  // From 500 on 55 % are enough.
  EXPECT_EQ(referenceRange({{0, 300}, {550, 160}, {700, 540}}, 400, 1000).x, 550);
  EXPECT_EQ(referenceRange({{0, 300}, {550, 150}, {700, 550}}, 400, 1000).x, 700);
  EXPECT_EQ(referenceRange({{0, 400}, {550, 600}}, 400, 1000).x, 550);
  EXPECT_EQ(referenceRange({{0, 400}, {650, 600}}, 600, 1000).x, 600);
  EXPECT_EQ(referenceRange({{2000, 9}}, 600, 1000).x, 1000);  // never beyond the upper level
  // raw = 2 * (physical + 100); half of 333 is 166 in whole numbers.
  EXPECT_EQ(referenceRange({{0, 60}, {1000, 40}}, 10, 333, {0.5f, -100}).x, 280);
  EXPECT_EQ(referenceRange({{0, 30}, {532, 20}, {600, 50}}, 100, 333, {0.5f, -100}).x, 532);
  // Below 0 nothing can be counted.
  EXPECT_EQ(referenceRange({{0, 60}, {900, 40}}, -10, 1000).x, -40);
  for (const int low : {INT_MIN, INT_MAX})
    for (const int high : {INT_MIN, INT_MAX})
      for (const NmVec2f& rescale : {NmVec2f(0, 1e30f), NmVec2f(1e-38f, -5), NmVec2f(-1, 0)})
        referenceRange({{0, 1}, {65535, 1}}, low, high, rescale);
}

TEST(FindRanges, CutsOutliersOffTheTop) {
  const LogCapture log;
  const auto top = [](const Counts& counts, const NmVec2f& rescale = {1, 0}) {
    return referenceRange(counts, 10, 1000, rescale).y;
  };
  EXPECT_EQ(top({{0, 9000}, {700, 994}, {800, 4}, {1000, 2}}), 801);
  EXPECT_EQ(top({{0, 9000}, {700, 995}, {800, 3}, {1000, 2}}), 701);  // 0.05 % is not above
  EXPECT_EQ(top({{0, 9000}, {400, 995}, {800, 3}, {1000, 2}}), 500);
  EXPECT_EQ(top({{0, 9999}, {255, 1}}), 255);
  EXPECT_EQ(top({{0, 9999}, {257, 1}}), 128.5f);
  EXPECT_EQ(top({{0, 9999}, {600, 1}}, {2, 100}), 275);  // half of 1300 is 650
  EXPECT_EQ(top({{0, 9999}, {600, 1}}, {0, 256}), 1);    // half is below 0
}

TEST(FindRanges, MatchesTheShareInTheModel) {
  const LogCapture log;
  struct Case {
    Counts model;
    NmVec2f rescale;
    float min;
  };
  // Of the reference 40 % lie at or above its limit of 40.
  for (const Case& c : {Case{{{10, 50}, {20, 15}, {25, 35}}, {1, 0}, 21},
                        {{{10, 50}, {20, 25}, {25, 25}}, {1, 0}, 20},
                        {{{10, 70}, {30, 30}}, {1, 0}, 11},
                        {{{10, 50}, {90, 50}}, {1, 0}, 40},
                        {{{10, 50}, {20, 15}, {25, 35}}, {1, -20.5f}, 21.5f},
                        {{{10, 50}, {20, 15}, {25, 35}}, {0, -5}, 6},
                        {{{7, 100}}, {1, 0}, 40}}) {
    NmVec2f range;
    NmVec2f modelRange;
    const RegElasticRegistration elastic{
        nullptr, volumeOf({{0, 60}, {50, 30}, {900, 10}}), volumeOf(c.model), {}, 1};
    EXPECT_TRUE(elastic.findRanges(true, 10, 1000, {1, 0}, c.rescale, range, modelRange));
    EXPECT_EQ(range, NmVec2f(40, 900));
    EXPECT_EQ(modelRange, NmVec2f(c.min, 900));
  }
}

TEST(GetHistogram, CountsEveryValueUpToTheHighest) {
  const RegElasticRegistration elastic;
  int min = 0, max = 0;
  double total = 0;
  NmDArray<unsigned long> bins;
  EXPECT_TRUE(elastic.getHistogram(volumeOf({{3, 4}, {5, 1}, {65535, 2}}), min, max, total, bins));
  EXPECT_TRUE(min == 3 && max == 65535 && total == 7 && bins.size == 65536);
  EXPECT_TRUE(bins[0] == 0 && bins[3] == 4 && bins[5] == 1 && bins[65535] == 2);
  unsigned short voxels[4] = {4, 6, 6, 9};
  const auto count = [&](int low, int high, const NmVec3i& dims = {2, 2, 1}) {
    return elastic._getHistogram(voxels, dims, low, high, min, max, total, bins);
  };
  EXPECT_TRUE(count(5, 8));
  EXPECT_TRUE(min == 1 && max == 1 && total == 2 && bins.size == 2 && bins[1] == 2);
  EXPECT_TRUE(count(5, 8, {2, -1, 5}));
  EXPECT_TRUE(min == 4 && max == 0 && total == 0 && bins.size == 1 && bins[0] == 0);
  EXPECT_FALSE(count(5, 4) || count(INT_MIN, INT_MAX));
}

}  // namespace
