#include "metrics/RegMeanSquaredDifference.h"

#include <gtest/gtest.h>

#include <cmath>

#include "metrics/RegLabelDifference.h"

namespace {

TEST(RegMetric, CoveragePenaltyFallsBelowOneFifthOfTheWantedCoverage) {
  const auto factorOf = [](double minCoverage, bool smooth, double minFactor, long samples,
                           long total = 100) {
    RegMeanSquaredDifference metric(minCoverage, smooth);
    metric.numSamples = samples;
    metric.numTotalSamples = total;
    return metric.penaltyFactorForCoverage(minFactor);
  };
  EXPECT_EQ(factorOf(1.0, false, 0.001, 20), 1.0);
  EXPECT_DOUBLE_EQ(factorOf(1.0, false, 0.001, 10), 0.5);
  EXPECT_DOUBLE_EQ(factorOf(0.5, false, 0.0, 5), 0.5);
  EXPECT_EQ(factorOf(1.0, false, 0.001, 0), 0.001);
  EXPECT_EQ(factorOf(1.0, true, 0.001, 0), 0.001);
  EXPECT_DOUBLE_EQ(factorOf(1.0, true, 0.8, 50), 0.95);  // 0.2 * (1 - 0.5^2) + 0.8
  EXPECT_EQ(factorOf(0.5, true, 0.0, 80), 1.0);
  EXPECT_EQ(factorOf(0.0, false, 0.001, 0), 1.0);
  EXPECT_EQ(factorOf(std::nan(""), true, 0.001, 0), 1.0);
  EXPECT_EQ(factorOf(1.0, false, 0.0, 0, 0), 1.0);
  EXPECT_EQ(factorOf(1.0, false, 7.0, 0), 1.0);
  EXPECT_EQ(factorOf(1.0, false, -7.0, 0), 0.0);
}

TEST(RegMeanSquaredDifference, IsTheNegatedMeanOfSquares) {
  RegMeanSquaredDifference metric(1.0, false);
  EXPECT_EQ(metric.getResult(), -1000.0);
  metric.increment(3.0, 1.0);
  metric.increment(2.0, 5.0);
  EXPECT_EQ(metric.getResult(), -6.5);
  EXPECT_EQ(metric.decrementIncrementAndGetResult(), -6.5);
  metric.decrement(3.0, 1.0);
  EXPECT_EQ(metric.getResult(), -9.0);
  metric.numTotalSamples = 10;  // half of the coverage at which the penalty ends
  EXPECT_EQ(metric.getResult(), -18.0);
  metric.reset();
  EXPECT_EQ(metric.getResult(), -1000.0);
  EXPECT_EQ(metric.numTotalSamples, 0);
}

TEST(RegLabelDifference, IsTheNegatedShareOfMismatches) {
  RegLabelDifference metric(1.0, false);
  metric.increment(1.0, 1.0);
  metric.increment(1.0, 2.0);
  metric.increment(std::nan(""), std::nan(""));
  metric.increment(4.0, 4.0);
  EXPECT_EQ(metric.getResult(), -0.5);
  metric.decrement(1.0, 2.0);
  EXPECT_EQ(metric.getResult(), -1.0 / 3.0);
}

}  // namespace
