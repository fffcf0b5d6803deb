#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>

#include "functional/RegFunctional.h"
#include "metrics/RegCorrelationRatio.h"
#include "metrics/RegNormMutualInformation.h"
#include "tests/support/LogCapture.h"
#include "tests/support/volumes.h"
#include "transforms/RegAffineTransform.h"
#include "transforms/RegNonAffineTransform.h"

namespace {

/// A functional over a small volume of random voxels, and a grid over its box.
struct Scene {
  LogCapture log;
  NmDArray<NmHandle<VlData>> volumes;
  RegNonAffineTransform grid;
  std::unique_ptr<RegFunctional> functional;
  double penalty = -1.0;
  double time = -1.0;

  Scene(const NmVec3i& bricks, bool usesHistogram)
      : grid({NmBox3f(0, 7, 0, 7, 0, 7), {}, {}}, bricks) {
    const NmHandle<VlData> volume = makeVolume({8, 8, 8}, NmPrimType::Float);
    volumes.insert(0, 1, &volume);
    {
      const NmHandle<VlDataAccess> access = volume->lock(true);
      std::mt19937 random(4);
      for (int v = 0; v < 512; ++v)
        static_cast<float*>(access->dataPtr(0))[v] = static_cast<float>(random() % 100);
    }
    RegMetric* metric = nullptr;
    if (usesHistogram)
      metric = new RegNormMutualInformation(NmPrimType::Float, NmPrimType::Float, 0, 100, 0, 100, 8,
                                            8, 0.0, false);
    else
      metric = new RegCorrelationRatio(0, 100, 0, 100, 0.0, false);
    functional =
        std::make_unique<RegFunctional>(volumes, volumes, -1, true, &grid, metric, nullptr, 3, 1);
  }

  double evaluate(const NmBox3i* box = nullptr, int vertex = -1) {
    return functional->evaluate(true, box, vertex, false, nullptr, nullptr, penalty, time);
  }
};

double square(double x) {
  return x * x;
}

TEST(RegularityPenalty, OneBrickByHand) {
  for (const bool usesHistogram : {false, true}) {
    const double weight = usesHistogram ? 0.1 : 0.25;
    Scene s(NmVec3i(1, 1, 1), usesHistogram);
    // Growth by 1.05 is free: a stretch below 0.14, and 1 / 1.158 above 0.8.
    for (long i = 0; i < s.grid.params.size; ++i) s.grid.params[i] *= 1.05;
    s.evaluate();
    EXPECT_EQ(s.penalty, 0.0);
    EXPECT_EQ(s.functional->worstBrick, -1);
    EXPECT_GT(s.time, 0.0);
    for (long i = 0; i < s.grid.params.size; ++i) s.grid.params[i] *= 2 / 1.05;
    const double value = s.evaluate();
    EXPECT_NEAR(s.penalty, weight * (square(0.86) + square(0.8 - 0.125)), 1e-12);
    EXPECT_EQ(s.functional->worstBrick, 0);
    EXPECT_NEAR(s.functional->maxShapePenalty, weight * square(0.86), 1e-12);
    EXPECT_NEAR(s.functional->maxJacobianPenalty, weight * square(0.675), 1e-12);
    const double penalty = s.penalty;
    s.functional->emptyBricks[0] = 1;
    EXPECT_EQ(s.evaluate() - penalty, value);
  }
}

TEST(RegularityPenalty, SumsWhatTheAnalysisMeasures) {
  const double limits[3][4] = {{5, 0.14, 0.8, 1.25}, {9, 0.15, 0.77, 1.3}, {99, 0.17, 0.75, 1.4}};
  for (const NmVec3i& n : {NmVec3i(4, 1, 2), NmVec3i(1, 5, 2), NmVec3i(3, 2, 8), NmVec3i(9, 4, 3),
                           NmVec3i(32, 1, 1)}) {
    Scene s(n, false);
    std::mt19937 random(6);
    std::uniform_real_distribution<double> move(-0.6, 0.6);
    for (long i = 0; i < s.grid.params.size; ++i) s.grid.params[i] += move(random);
    s.evaluate();
    NmDArray<double> jacobian, stretch, shear;
    s.grid.computeJacobiTransforms(-1, 1, jacobian, &s.functional->emptyBricks, nullptr, &stretch,
                                   &shear, nullptr);
    const double* limit = limits[0];
    while (std::max({n.x, n.y, n.z}) >= limit[0]) limit += 4;
    double sum = 0, local = 0, largest = 0;
    int worst = -1;
    for (int b = 0; b < jacobian.size; ++b)
      for (const double excess : {std::max(stretch[b], shear[b]) - limit[1], limit[2] - jacobian[b],
                                  jacobian[b] - limit[3]}) {
        const double term = 0.25 * square(std::max(excess, 0.0));
        sum += term;
        if (b == 0) local += term;
        if (term > largest) worst = b;
        largest = std::max(largest, term);
      }
    EXPECT_NEAR(s.penalty, sum, 1e-12 * sum);
    EXPECT_EQ(s.functional->worstBrick, worst);
    EXPECT_NEAR(std::max(s.functional->maxShapePenalty, s.functional->maxJacobianPenalty), largest,
                1e-12);
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
  }
}

TEST(RegularityPenalty, WhatCanNotBeMeasuredIsFree) {
  Scene s(NmVec3i(2, 2, 2), true);
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
  RegAffineTransform affine(s.volumes, s.volumes[0], NmMat4f(), 12);
  s.functional->transform = &affine;
  s.evaluate();
  EXPECT_EQ(s.penalty, 0.0);
  EXPECT_EQ(s.time, 0.0);
}

}  // namespace
