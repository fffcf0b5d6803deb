#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "elastic/RegElasticRegistration.h"
#include "tests/support/LogCapture.h"
#include "tests/support/volumes.h"

namespace {

using Lines = std::vector<std::string>;
using Knots = std::vector<std::pair<int, float>>;

NmDArray<float> profileOf(const std::vector<float>& values) {
  NmDArray<float> profile;
  profile.insert(0, static_cast<long>(values.size()), values.data());
  return profile;
}

/// Straight lines from knot to knot, the first of which is at 0.
NmDArray<float> through(const Knots& knots) {
  std::vector<float> values = {knots[0].second};
  for (std::size_t k = 1; k < knots.size(); ++k) {
    const auto [from, low] = knots[k - 1];
    const auto [to, high] = knots[k];
    for (int i = from + 1; i <= to; ++i)
      values.push_back(low +
                       (high - low) * static_cast<float>(i - from) / static_cast<float>(to - from));
  }
  return profileOf(values);
}

/// One analysis; the profile runs along the y axis of a reference whose voxels have one size there.
struct Analysis {
  RegElasticRegistration elastic;
  bool isFound = false;
  int skin = -7, maxIndex = -7;
  float maxValue = -7, wall = -7;
  int firstMaxHalf = -7, background = -7, lowestMinHalf = -7;

  explicit Analysis(float voxelSize = 1.0f, float origin = 0.0f)
      : elastic{nullptr, makeVolume({1, 11, 1}, NmPrimType::UnsignedShort), nullptr, {}, 1} {
    elastic.reference->setBoundingBox({0, 1, origin, origin + 10 * voxelSize, 0, 1});
  }

  void run(const NmDArray<float>& profile, int limit, bool detailed = true, int start = -1) {
    isFound = elastic.analyzeProfile(profile, start, skin, limit, maxIndex, maxValue, detailed, 1,
                                     wall, firstMaxHalf, background, lowestMinHalf);
  }
};

TEST(AnalyzeProfile, FindsMaximumAndSkin) {
  const NmDArray<float> profile = profileOf({0, 2, 2.5f, 1, 10, 3, 10, 0});
  struct Case {
    int start, limit, maxIndex, skin;
  };
  // A fifth of the maximum is 2, which index 1 does not exceed.
  for (const Case& c : {Case{-1, -1, 4, 2},
                        {INT_MIN, INT_MIN, 4, 2},
                        {4, -1, 6, 2},
                        {-1, 2, 4, 2},
                        {-1, 0, 4, 2},
                        {3, INT_MAX, 4, 2},
                        {7, 3, 0, -1},
                        {INT_MAX, -1, 0, -1}}) {
    Analysis a;
    a.run(profile, c.limit, false, c.start);
    EXPECT_TRUE(a.isFound);
    EXPECT_EQ(a.maxIndex, c.maxIndex) << c.start;
    EXPECT_EQ(a.maxValue, c.skin < 0 ? 0 : 10);
    EXPECT_EQ(a.skin, c.skin) << c.start << ' ' << c.limit;
  }
  Analysis a;
  a.run(profileOf({0, 0, 10, 4}), -1, false);  // straight from air to the maximum
  EXPECT_EQ(a.skin, 0);
  a.run(NmDArray<float>(), -1, false);
  EXPECT_FALSE(a.isFound);
  a.elastic.reference = nullptr;
  a.run(profile, -1);
  EXPECT_FALSE(a.isFound);
  EXPECT_TRUE(a.wall == 0 && a.firstMaxHalf == 1 && a.background == 1 && a.lowestMinHalf == 1);
}

TEST(AnalyzeProfile, LogsWhatItFinds) {
  LogCapture log;
  Analysis a(1.0f, 100.0f);
  // The maximum at 50 is after the last minimum, and 90 is half a level below what rounds up.
  const Knots air = {{0, 4}, {1, 8}, {2, 4}, {3, 8}, {4, 6}, {8, 6}, {9, 6}};
  Knots knots = {{12, 101}, {20, 40}, {30, 90}, {42, 31}, {50, 80}, {99, 31}};
  knots.insert(knots.begin(), air.begin(), air.end());
  a.run(through(knots), 60);
  EXPECT_TRUE(a.isFound);
  EXPECT_EQ(a.skin, 10);
  EXPECT_EQ(a.wall, 142);
  EXPECT_EQ(a.firstMaxHalf, 50);   // 50.5, ties to even
  EXPECT_EQ(a.lowestMinHalf, 16);  // 15.5
  EXPECT_EQ(a.background, 8);      // mean 6, variance 16/9
  EXPECT_EQ(log.lines,
            Lines({"max in coronal profile: 101.0 at 112.0", "detected skin at 110.0",
                   "background mean 6.000 std dev. 1.333",
                   "minimum between skin and max 31.0 at 142.0", "minima:", "  40.0 at 120.0",
                   "  31.0 at 142.0", "maxima:", "  101.0 at 112.0", "  90.0 at 130.0"}));
}

/// The wall behind a maximum at 12 and extrema that follow it in turn, starting with a minimum. The
/// last knot is the limit and rises to it, so that there is no further extremum.
float wallBehind(Knots extrema) {
  const int limit = extrema.back().first + 20;
  extrema.insert(extrema.begin(), {{0, 0}, {9, 0}, {12, 100}});
  extrema.emplace_back(limit, 95.0f);
  const LogCapture log;
  Analysis a;
  a.run(through(extrema), limit);
  EXPECT_TRUE(a.isFound);
  return a.wall;
}

TEST(AnalyzeProfile, PlacesTheWallByThePatternOfExtrema) {
  // Few minima: the last one, unless it is nearer than 10 or farther than 50.
  EXPECT_EQ(wallBehind({{22, 30}}), 22);
  EXPECT_EQ(wallBehind({{21, 30}}), 37);
  EXPECT_EQ(wallBehind({{62, 30}}), 62);
  EXPECT_EQ(wallBehind({{63, 30}}), 37);
  EXPECT_EQ(wallBehind({{20, 40}, {30, 90}, {44, 50}}), 44);
  // Four minima and three maxima: the maximum of 9 is less than a third of the next one, 60.
  EXPECT_EQ(wallBehind({{18, 5}, {24, 9}, {30, 4}, {36, 60}, {42, 30}, {48, 80}, {54, 20}}), 54);
  EXPECT_EQ(wallBehind({{18, 5}, {24, 9}, {30, 4}, {36, 60}, {42, 30}, {60, 80}, {61, 20}}), 61);
  EXPECT_EQ(wallBehind({{18, 5}, {24, 9}, {30, 4}, {36, 60}, {42, 30}, {61, 80}, {62, 20}}), 37);
  EXPECT_EQ(wallBehind({{18, 5}, {24, 9}, {30, 4}, {42, 60}, {46, 30}, {51, 80}, {56, 20}}), 37);
  // Four maxima, of which those below half of the highest go until three are left.
  EXPECT_EQ(wallBehind({{18, 30}, {24, 40}, {30, 20}, {36, 60}, {42, 30}, {48, 80}, {54, 20}}), 54);
  EXPECT_EQ(wallBehind({{18, 30}, {24, 50}, {30, 20}, {36, 60}, {42, 30}, {48, 80}, {54, 20}}), 37);
}

TEST(AnalyzeProfile, DoesWithoutOneKindOfExtremaOrALimit) {
  const LogCapture log;
  const auto wallOf = [](float voxelSize, const Knots& knots, int limit) {
    Analysis a(voxelSize, -10);
    a.run(through(knots), limit);
    EXPECT_EQ(a.isFound, a.wall != 0);
    return a.wall;
  };
  const float behind = -10 + 25;
  EXPECT_EQ(wallOf(2, {{0, 0}, {9, 0}, {60, 100}}, 60), behind + 2 * 22);  // rises, skin at 20
  EXPECT_EQ(wallOf(2, {{0, 30}, {60, 100}}, 60), 0);                       // the same, no skin
  EXPECT_EQ(wallOf(2, {{0, 0}, {9, 0}, {12, 100}, {60, 10}}, 60), behind + 2 * 12);
  // Less than 10 units after the skin at 11 nothing can be told: 60 are searched, minus 5 or one.
  EXPECT_EQ(wallOf(1, {{0, 0}, {9, 0}, {14, 100}, {63, 30}, {80, 90}}, 15), -10 + 63);
  EXPECT_EQ(wallOf(2, {{0, 0}, {9, 0}, {12, 100}, {37, 30}, {60, 90}}, -1), -10 + 2 * 37);
}

TEST(AnalyzeProfile, WidensTheNeighbourhoodUpToFourUnits) {
  Knots zigzag = {{0, 0}, {9, 0}, {12, 100}};
  for (int i = 20; i < 90; i += 8) zigzag.emplace_back(i, i % 16 == 4 ? 40.0f : 90.0f);
  for (const auto& [voxelSize, text] : std::vector<std::pair<float, std::string>>{
           {0.5f, "widths 6 6"}, {0.7f, "widths 5 5"}, {0.8f, "widths 4 4"}}) {
    const LogCapture log;
    Analysis(voxelSize).run(through(zigzag), 84);
    EXPECT_EQ(std::count(log.lines.begin(), log.lines.end(), text), voxelSize < 0.8f ? 1 : 0);
  }
}

TEST(AnalyzeProfile, StaysWithinAnyProfile) {
  const LogCapture log;
  unsigned state = 1;
  const auto next = [&](int n) {
    state = state * 1664525u + 1013904223u;
    return static_cast<int>(state >> 16) % n;
  };
  const std::vector<float> odd = {NAN, INFINITY, -INFINITY, 3e38f, -3e38f, 1e-40f, 0, 0, 1, 1};
  for (int round = 0; round < 3000; ++round) {
    std::vector<float> values(static_cast<std::size_t>(1 + next(70)));
    const int n = static_cast<int>(values.size());
    const int kind = next(4);
    for (float& value : values)
      value = kind == 0 && next(3) == 0 ? odd[static_cast<std::size_t>(next(10))]
              : kind == 1               ? static_cast<float>(next(3))
                                        : static_cast<float>(next(1000) - 20 * kind);
    const int limits[] = {-1, 0, next(n), n - 1, n, n + next(20), INT_MAX, INT_MIN};
    const float sizes[] = {1, 0.1f, 8, 0, -1, 1e-38f, 1e37f};
    Analysis a(sizes[next(7)]);
    NmDArray<float> exact;
    exact.remax(n, 0);
    exact.insert(0, n, values.data());
    a.run(exact, limits[next(8)], true, limits[next(8)]);
    EXPECT_TRUE(a.skin >= -1 && a.skin < n && a.maxIndex >= 0 && a.maxIndex < n);
  }
}

}  // namespace
