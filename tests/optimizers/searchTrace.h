#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "functional/RegOptimizerCallback.h"
#include "tests/optimizers/analyticFunctional.h"
#include "tests/support/StoppingProgress.h"

/// Watches a search: records what it reports and interrupts it from a poll of the test's choice on.
class SearchWatcher : public RegOptimizerCallback, public StoppingProgress {
 public:
  std::vector<int> values;

  NmProgressInterface* getProgressInterface() override { return this; }
  void setProgressValue(int value) override { values.push_back(value); }
};

inline constexpr RegOptimizerCallback* nobody = nullptr;

struct Landscape {
  const char* name;
  double (*height)(const Point&);
};

constexpr double unevaluated = std::numeric_limits<float>::lowest();

inline double hill(const Point& p) {
  const double x = p[0] - 1.3, y = p[1] + 0.7, z = p[2] - 0.4;
  return 5.0 - x * x - 2.0 * y * y - 0.5 * z * z + 1.1 * x * y - 0.3 * y * z;
}

inline constexpr Landscape landscapes[] = {
    {"correlated", hill},
    {"plateau", [](const Point& p) { return std::max(hill(p), 4.0); }},
    {"flat", [](const Point&) { return -2.5; }},
    {"slope", [](const Point& p) { return std::tanh(0.2 * p[0] - 0.1 * p[2]); }},
    {"without numbers", [](const Point& p) { return p[0] > 1.0 ? std::nan("") : hill(p); }},
    {"no overlap", [](const Point& p) { return std::abs(p[1]) > 0.6 ? -1000.0 : hill(p); }},
    {"unevaluated", [](const Point& p) { return p[0] < -0.5 ? unevaluated : hill(p); }},
    {"waves", [](const Point& p) { return hill(p) + std::cos(9.0 * p[0]) + std::sin(7.0 * p[2]); }},
    {"roof", [](const Point& p) { return -std::abs(p[0] - 4.0) - 0.75 * std::abs(p[2] + 4.0); }},
    {"near", [](const Point& p) { return -(p[0] - 0.125) * (p[0] - 0.125); }},
    {"to infinity", [](const Point& p) { return std::exp(600.0 * p[0]); }},
};

/// The first `count` trials of both, bit by bit.
inline bool sameBits(const std::vector<Point>& a, const std::vector<Point>& b, std::size_t count) {
  if (a.size() < count || b.size() < count) return false;
  for (std::size_t i = 0; i < count; ++i)
    if (std::memcmp(a[i].data(), b[i].data(), a[i].size() * sizeof(double)) != 0) return false;
  return true;
}

inline bool sameValue(double a, double b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

inline void expectNear(const Point& road, const Point& expected, double relativeError) {
  ASSERT_EQ(road.size(), expected.size());
  for (std::size_t i = 0; i < road.size(); ++i)
    EXPECT_NEAR(road[i], expected[i], relativeError * std::abs(expected[i])) << i;
}
