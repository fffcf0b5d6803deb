#include <algorithm>
#include <cmath>
#include <random>

#include "tests/functional/functionals.h"
#include "tests/support/grids.h"

namespace {

/// A functional over a small volume of random voxels, and a grid over its box.
struct Scene {
  LogCapture log;
  Volumes volumes =
      listOf({makeVolume({8, 8, 8}, [random = std::mt19937(4)](double, double, double) mutable {
        return random() % 100;
      })});
  RegNonAffineTransform grid;
  std::unique_ptr<RegFunctional> functional;
  double penalty = -1.0;
  double time = -1.0;

  Scene(const NmVec3i& bricks, double jitter, RegMetric* metric)
      : grid(jittered(bricks, jitter, NmBox3f(0, 7, 0, 7, 0, 7))),
        functional(makeFunctional(volumes, volumes, &grid, metric)) {}

  double evaluate(const NmBox3i* box = nullptr, int vertex = -1) {
    return functional->evaluate(true, box, vertex, false, nullptr, nullptr, penalty, time);
  }
};

double square(double x) {
  return x * x;
}

TEST(RegularityPenalty, SumsWhatTheAnalysisMeasures) {
  const double limits[3][4] = {{5, 0.14, 0.8, 1.25}, {9, 0.15, 0.77, 1.3}, {99, 0.17, 0.75, 1.4}};
  for (const NmVec3i& n : {NmVec3i(4, 1, 2), NmVec3i(1, 5, 2), NmVec3i(3, 2, 8), NmVec3i(9, 4, 3),
                           NmVec3i(32, 1, 1)}) {
    const double weight = n.y == 1 ? 0.1 : 0.25;
    Scene s(n, 0.6, n.y == 1 ? information() : correlation());
    const double value = s.evaluate();
    NmDArray<double> jacobian, stretch, shear;
    s.grid.computeJacobiTransforms(-1, 1, jacobian, &s.functional->emptyBricks, nullptr, &stretch,
                                   &shear, nullptr);
    const double* limit = limits[0];
    while (std::max({n.x, n.y, n.z}) >= limit[0]) limit += 4;
    double sum = 0, local = 0, worstTerm = 0;
    double largest[] = {0, 0, 0};  // of each kind of term
    int worst = -1;
    for (int b = 0; b < jacobian.size; ++b) {
      const double excess[] = {std::max(stretch[b], shear[b]) - limit[1], limit[2] - jacobian[b],
                               jacobian[b] - limit[3]};
      for (int kind = 0; kind < 3; ++kind) {
        const double term = weight * square(std::max(excess[kind], 0.0));
        sum += term;
        if (b == 0) local += term;
        largest[kind] = std::max(largest[kind], term);
        if (term > worstTerm) worst = b;
        worstTerm = std::max(worstTerm, term);
      }
    }
    EXPECT_NEAR(s.penalty, sum, 1e-12 * sum);
    EXPECT_EQ(s.functional->worstBrick, worst);
    EXPECT_NEAR(s.functional->maxShapePenalty, largest[0], 1e-12);
    EXPECT_NEAR(s.functional->maxJacobianPenalty, std::max(largest[1], largest[2]), 1e-12);
    // Around a vertex only the bricks there count, and the records stay.
    s.functional->worstBrick = 77;
    s.functional->maxShapePenalty = s.functional->maxJacobianPenalty = 0.0;
    const NmBox3i box(0, 7, 0, 7, 0, 7);
    s.evaluate(&box, 0);
    EXPECT_NEAR(s.penalty, local, 1e-12);
    EXPECT_EQ(s.functional->worstBrick, 77);
    EXPECT_EQ(s.functional->maxShapePenalty + s.functional->maxJacobianPenalty, 0.0);
    s.evaluate();
    EXPECT_EQ(s.functional->worstBrick, worst);
    EXPECT_GT(s.time, 0.0);
    // An empty brick is free, and the penalty is what is taken from the metric.
    for (long b = 0; b < jacobian.size; ++b) s.functional->emptyBricks[b] = 1;
    EXPECT_NEAR(s.evaluate() - sum, value, 1e-12 * sum);
    EXPECT_EQ(s.penalty, 0.0);
    EXPECT_EQ(s.functional->worstBrick, -1);
  }
}

TEST(RegularityPenalty, WhatCanNotBeMeasuredIsFree) {
  Scene s(NmVec3i(2, 2, 2), 0.0, information());
  s.functional->worstBrick = 5;
  s.grid.params[40] = std::nan("");
  EXPECT_TRUE(std::isfinite(s.evaluate()));
  EXPECT_EQ(s.functional->worstBrick, -1);
  s.grid.params[0] -= 30;
  s.evaluate();
  EXPECT_GT(s.penalty, 0.0);
  s.grid.restrict(NmVec3i(2, 2, 2), NmVec3i(1, 1, 1));
  s.evaluate();
  EXPECT_EQ(s.penalty, 0.0) << "coefficients of a larger grid";
}

}  // namespace
