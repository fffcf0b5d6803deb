#pragma once

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <type_traits>
#include <vector>

#include "metrics/RegMetric.h"

/// The protocol that replaces a box's contribution, with the value of the whole volume as a
/// measure.
namespace replacedBox {

/// Reference value, model value before and after the change.
using Samples = std::vector<std::array<double, 3>>;

/// Replaces `box` in a metric that holds the baseline.
inline double replace(RegMetric& metric, const Samples& box) {
  metric.reset();
  for (const auto& s : box) metric.increment(s[0], s[1]);
  metric.setOtherParams(RegMetricParamRemoved);
  metric.reset();
  for (const auto& s : box) metric.increment(s[0], s[2]);
  return metric.decrementIncrementAndGetResult();
}

/// Two fresh metrics of one configuration that accept every value.
template <class Metric>
void expectValueOfTheWhole(Metric whole, Metric changed) {
  std::mt19937 random(5);
  std::normal_distribution<double> value(120.0, 50.0);
  Samples box;
  for (int i = 0; i < 500; ++i) {
    const double r = value(random);
    const double before = 0.5 * r + value(random);
    const double after = i < 60 ? value(random) : before;
    whole.increment(r, before);
    changed.increment(r, after);
    if (i < 60) box.push_back({r, before, after});
  }
  const double present = whole.getResult();
  const double expected = changed.getResult();
  whole.setOtherParams(RegMetricParamBaseline);
  const auto expectBaseline = [&](Metric& copy) {
    EXPECT_EQ(copy.numSamples + copy.numTotalSamples, 0);
    EXPECT_EQ(copy.minCoverage, whole.minCoverage);
    EXPECT_NEAR(copy.decrementIncrementAndGetResult(), present, 1e-12) << "nothing removed yet";
    EXPECT_NEAR(replace(copy, box), expected, 1e-12);
  };
  if constexpr (std::is_copy_constructible_v<Metric>) {
    Metric copy = whole;
    expectBaseline(copy);
  }
  if constexpr (std::is_copy_assignable_v<Metric>) {
    changed.minCoverage = 0.5;
    changed.setOtherParams(RegMetricParamRemoved);
    changed = whole;
    changed = *&changed;
    expectBaseline(changed);
  }
  EXPECT_NEAR(replace(whole, {}), present, 1e-12);
  EXPECT_NEAR(replace(whole, box), expected, 1e-12);
  EXPECT_EQ(whole.numSamples, 500);
  EXPECT_EQ(whole.numTotalSamples, 500);
  EXPECT_TRUE(whole.supportsMarginalMetric());
}

}  // namespace replacedBox
