#include "metrics/RegCorrelationRatio.h"

#include <cmath>

#include "tests/metrics/replacedBox.h"

namespace {

RegCorrelationRatio wideOpen(double minCoverage = 0.0) {
  return {-1000.0, 1000.0, -1000.0, 1000.0, minCoverage, false};
}

TEST(RegCorrelationRatio, IsPearsonsCoefficientTimesCoverage) {
  // Centred values (-1, 0, 1) and (-4, 2, 2) / 3: covariance 2, variances 2 and 24 / 9.
  for (const double sign : {1.0, -1.0}) {
    RegCorrelationRatio metric = wideOpen(1.0);
    metric.increment(1.0, 0.0);
    metric.increment(2.0, sign * 2.0);
    metric.increment(3.0, sign * 2.0);
    metric.increment(5000.0, 1.0);
    for (int i = 0; i < 26; ++i) metric.increment(1.0, std::nan(""));
    EXPECT_EQ(metric.numSamples, 3);
    EXPECT_EQ(metric.numTotalSamples, 30);
    // 3 of 30 visited samples: half of the fifth at which the penalty ends.
    EXPECT_NEAR(metric.getResult(), 0.5 * 2.0 / std::sqrt(2.0 * 24.0 / 9.0), 1e-14);
    EXPECT_EQ(metric.sumRef, 2.0) << "the mean stands in place of the sum";
  }
}

TEST(RegCorrelationRatio, RangesAreClosedAndDecrementUndoesIncrement) {
  RegCorrelationRatio metric(0.0, 10.0, -1.0, 1.0, 0.0, false);
  metric.increment(0.0, -1.0);
  metric.increment(10.0, 1.0);
  metric.increment(10.0, 1.0000001);
  metric.increment(-1e-9, 0.0);
  EXPECT_EQ(metric.numSamples, 2);
  EXPECT_EQ(metric.numTotalSamples, 4);
  metric.decrement(10.0, 1.0);
  metric.decrement(11.0, 1.0);
  EXPECT_EQ(metric.numSamples, 1);
  EXPECT_EQ(metric.numTotalSamples, 2);
  EXPECT_EQ(metric.sumRef, 0.0);
  EXPECT_EQ(metric.sumModelSq, 1.0);
}

TEST(RegCorrelationRatio, DegenerateSamplesGiveTheSentinel) {
  RegCorrelationRatio metric = wideOpen();
  EXPECT_EQ(metric.getResult(), -1000.0);
  metric.increment(1.0, 2.0);
  EXPECT_EQ(metric.getResult(), -1000.0) << "one sample";
  EXPECT_EQ(metric.sumModel, 2.0);
  metric.increment(3.0, 2.0);
  EXPECT_EQ(metric.getResult(), -1000.0) << "a constant model";
  EXPECT_EQ(metric.sumRef, 2.0) << "the means stay written";
  EXPECT_EQ(wideOpen().decrementIncrementAndGetResult(), -1000.0);
}

TEST(RegCorrelationRatio, ReplacingABoxGivesTheValueOfTheWholeVolume) {
  replacedBox::expectValueOfTheWhole(wideOpen(0.9), wideOpen(0.9));
}

}  // namespace
