#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "foundation/NmProgressInterface.h"
#include "functional/RegOptimizerCallback.h"
#include "optimizers/RegOptimizer.h"
#include "tests/optimizers/analyticFunctional.h"

/// Watches a search: records what it reports and interrupts it at a poll of the test's choice.
class SearchWatcher : public RegOptimizerCallback, public NmProgressInterface {
 public:
  int polls = 0;
  int interruptAt = 0;  ///< 0: never
  std::vector<int> values;

  NmProgressInterface* getProgressInterface() override { return this; }
  void startWorking(int, const std::string&) override {}
  void stopWorking() override {}
  void setProgressValue(int value) override { values.push_back(value); }
  bool wasInterrupted() override {
    ++polls;
    return interruptAt != 0 && polls >= interruptAt;
  }
};

struct Landscape {
  const char* name;
  double (*height)(const Point&);
};

inline double hill(const Point& p) {
  const double x = p[0] - 1.3, y = p[1] + 0.7, z = p[2] - 0.4;
  return 5.0 - x * x - 2.0 * y * y - 0.5 * z * z + 1.1 * x * y - 0.3 * y * z;
}

inline constexpr Landscape landscapes[] = {
    {"correlated", hill},
    {"stairs", [](const Point& p) { return std::floor(2.0 * hill(p)) / 2.0; }},
    {"plateau", [](const Point& p) { return std::max(hill(p), 4.0); }},
    {"flat", [](const Point&) { return -2.5; }},
    {"slope", [](const Point& p) { return std::tanh(0.2 * p[0] - 0.1 * p[2]); }},
    {"without numbers", [](const Point& p) { return p[0] > 1.0 ? std::nan("") : hill(p); }},
    {"never a number", [](const Point&) { return std::nan(""); }},
    {"no overlap", [](const Point& p) { return std::abs(p[1]) > 0.6 ? -1000.0 : hill(p); }},
    {"unevaluated",
     [](const Point& p) {
       return p[0] < -0.5 ? static_cast<double>(std::numeric_limits<float>::lowest()) : hill(p);
     }},
    {"waves", [](const Point& p) { return hill(p) + std::cos(9.0 * p[0]) + std::sin(7.0 * p[2]); }},
    {"roof", [](const Point& p) { return -std::abs(p[0] - 4.0) - 0.75 * std::abs(p[2] + 4.0); }},
    {"to infinity", [](const Point& p) { return std::exp(600.0 * p[0]); }},
};

/// The first `count` trials of both, bit by bit.
inline bool sameBits(const std::vector<Point>& a, const std::vector<Point>& b, std::size_t count) {
  if (a.size() < count || b.size() < count) return false;
  for (std::size_t i = 0; i < count; ++i)
    if (std::memcmp(a[i].data(), b[i].data(), a[i].size() * sizeof(double)) != 0) return false;
  return true;
}

inline void expectSame(double value, double naive, const std::vector<Point>& trials,
                       const std::vector<Point>& naiveTrials) {
  EXPECT_TRUE(value == naive || (std::isnan(value) && std::isnan(naive))) << value << " " << naive;
  EXPECT_EQ(trials.size(), naiveTrials.size());
  EXPECT_TRUE(sameBits(trials, naiveTrials, naiveTrials.size()));
}

/// Where a naive search stands: the start and the steps of a problem's transform.
struct NaiveWalker {
  double (*height)(const Point&);
  std::size_t dim;
  Point p, steps = {};
  std::vector<Point> trials = {};

  NaiveWalker(AnalyticProblem& problem, double (*landscape)(const Point&))
      : height(landscape),
        dim(static_cast<std::size_t>(problem.transform.getVariableParamVectorDim())),
        p(problem.transform.params.data, problem.transform.params.data + 15) {
    NmVec3d extent(4, 4, 4);
    for (std::size_t i = 0; i < dim; ++i)
      steps.push_back(problem.transform.getParamStep(static_cast<int>(i), &extent));
  }
  double evaluate() {
    trials.push_back(p);
    return height(p);
  }
  double evaluateAt(double factor, const Point& d) {
    add(factor, d);
    return evaluate();
  }
  void add(double factor, const Point& d) {
    for (std::size_t i = 0; i < dim; ++i) p[i] += factor * d[i];
  }
};

inline void shrink(Point& d, double factor) {
  for (double& x : d) x *= factor;
}
