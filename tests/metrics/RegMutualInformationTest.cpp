#include "metrics/RegMutualInformation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <random>
#include <vector>

#include "metrics/RegNormMutualInformation.h"
#include "metrics/RegSimpleMutualInformation.h"
#include "tests/support/LogCapture.h"

namespace {

template <class Metric>
Metric bytes(int bins, double max = 255.0, double minCoverage = 0.0) {
  const LogCapture quiet;
  return Metric(NmPrimType::UnsignedChar, NmPrimType::UnsignedChar, 0.0, max, 0.0, max, bins, bins,
                minCoverage, false);
}

double sumOf(const NmDArray<double>& histogram) {
  return std::accumulate(histogram.data, histogram.data + histogram.size, 0.0);
}

struct Axis {
  int numBins;
  double min;
  double scale;
};

Axis axis(NmPrimType type, int numBins, double min, double max) {
  Axis a = {numBins, min, -1.0};
  RegMutualInformation::init1D(type, a.numBins, a.min, a.scale, max);
  return a;
}

TEST(RegMutualInformation, IntegerAxesGetWholeGreyValuesPerBin) {
  const Axis coarse = axis(NmPrimType::UnsignedChar, 64, 0.0, 255.0);
  EXPECT_EQ(coarse.numBins, 63);
  EXPECT_DOUBLE_EQ(coarse.scale, 62.0 / 255.0);
  const Axis fine = axis(NmPrimType::UnsignedChar, 300, 0.0, 255.0);
  EXPECT_EQ(fine.numBins, 256);
  EXPECT_DOUBLE_EQ(fine.scale, 1.0);
  const Axis rounded = axis(NmPrimType::Short, 10, -0.6, 99.5);
  EXPECT_EQ(rounded.min, -1.0);
  EXPECT_EQ(rounded.numBins, 10) << "101 grey values in steps of 10";
  EXPECT_DOUBLE_EQ(rounded.scale, 9.0 / 101.0);
  const Axis wide = axis(NmPrimType::Int, 100, -2147483648.0, 2147483647.0);
  EXPECT_EQ(wide.numBins, 100);
  EXPECT_DOUBLE_EQ(wide.scale, 99.0 / 4294967295.0);
}

TEST(RegMutualInformation, DegenerateAxesHaveOneBin) {
  for (const int type : {NmPrimType::Short, NmPrimType::Float}) {
    const Axis flat = axis(type, 40, 7.0, 7.0);
    EXPECT_EQ(flat.numBins, 1);
    EXPECT_EQ(flat.scale, 0.0);
    EXPECT_GE(axis(type, -5, 0.0, 10.0).numBins, 1);
    EXPECT_LE(axis(type, 2000000000, 0.0, 1.0e9).numBins, 10000);
  }
  EXPECT_EQ(axis(NmPrimType::Short, 40, 9.0, 2.0).numBins, 1) << "an inverted range";
  EXPECT_EQ(axis(NmPrimType::Float, 40, 0.25, 0.75).scale, 78.0);
}

TEST(RegMutualInformation, ConstructionLogsWhatItWasGiven) {
  LogCapture log;
  const RegNormMutualInformation metric(NmPrimType::Short, NmPrimType::Float, -0.6, 99.9, 1.5, 1e30,
                                        10, 20, 1.0, false);
  const std::vector<std::string> expected = {"minRef, maxRef: 0 99", "minMod, maxMod: 1 2147483647",
                                             "numBinsRef, numBinsMod: 11 21"};
  EXPECT_EQ(log.lines, expected);
}

TEST(RegMutualInformation, ASampleSpreadsAWeightOfOne) {
  auto metric = bytes<RegNormMutualInformation>(5, 4.0);  // one bin per grey value, and one more
  ASSERT_EQ(metric.numBinsRef, 6);
  const auto bin = [&](int i, int j) { return metric.jointHistogram[6 * i + j]; };
  metric.increment(1.25, 2.5);
  EXPECT_EQ(bin(1, 2), 0.375);
  EXPECT_EQ(bin(2, 2), 0.125);
  EXPECT_EQ(bin(1, 3), 0.375);
  EXPECT_EQ(bin(2, 3), 0.125);
  metric.increment(-3.0, 4.0);
  EXPECT_EQ(bin(0, 4), 1.0);
  metric.increment(4.9, 5.0);
  EXPECT_NEAR(bin(5, 5), 0.9, 1e-12);
  metric.increment(std::nan(""), 1.0e300);
  EXPECT_EQ(bin(0, 5), 1.0);
  EXPECT_EQ(sumOf(metric.jointHistogram), 4.0);
  EXPECT_EQ(metric.numTotalSamples, 4);
  metric.decrement(1.25, 2.5);
  EXPECT_EQ(bin(1, 2), 0.0);
  EXPECT_EQ(metric.numSamples, 3);
}

TEST(RegMutualInformation, EntropiesOfAKnownHistogram) {
  // Rows 0 and 1, columns 0 and 1 with shares 1/2, 1/4, 0, 1/4.
  const auto fill = [](RegMutualInformation& metric) {
    metric.reset();
    metric.increment(0.0, 0.0);
    metric.increment(0.0, 0.0);
    metric.increment(0.0, 1.0);
    metric.increment(1.0, 1.0);
  };
  const double rows = -(0.75 * std::log(0.75) + 0.25 * std::log(0.25));
  const double columns = std::log(2.0);
  const double joint = 0.5 * std::log(2.0) + 0.5 * std::log(4.0);
  auto normalised = bytes<RegNormMutualInformation>(5, 4.0);
  auto simple = bytes<RegSimpleMutualInformation>(5, 4.0);
  EXPECT_EQ(normalised.getResult(), -1000.0);
  EXPECT_EQ(simple.getResult(), -1000.0);
  fill(normalised);
  fill(simple);
  EXPECT_NEAR(normalised.getResult(), (rows + columns) / joint, 1e-14);
  EXPECT_NEAR(simple.getResult(), rows + columns - joint, 1e-14);
  normalised.minCoverage = simple.minCoverage = 1.0;
  normalised.numTotalSamples = simple.numTotalSamples = 40;  // half a fifth
  EXPECT_NEAR(normalised.getResult(), 0.8 * (rows + columns) / joint, 1e-14);
  EXPECT_NEAR(simple.getResult(), 0.5 * (rows + columns - joint), 1e-14);
}

TEST(RegMutualInformation, OneBinHasNoEntropy) {
  auto normalised = bytes<RegNormMutualInformation>(5, 4.0);
  auto simple = bytes<RegSimpleMutualInformation>(5, 4.0);
  normalised.increment(2.0, 2.0);
  simple.increment(2.0, 2.0);
  EXPECT_EQ(normalised.getResult(), -1000.0);
  EXPECT_EQ(simple.getResult(), 0.0);
}

/// The marginal protocol on a copy where the class has one, on the metric itself otherwise.
template <class Metric>
void expectReplacedBox() {
  std::mt19937 random(5);
  std::normal_distribution<double> value(120.0, 50.0);
  auto whole = bytes<Metric>(32, 255.0, 0.9);
  auto changed = bytes<Metric>(32, 255.0, 0.9);
  std::vector<std::vector<double>> box;
  for (int i = 0; i < 500; ++i) {
    const double r = value(random);
    const double before = value(random);
    const double after = i < 60 ? value(random) : before;
    whole.increment(r, before);
    changed.increment(r, after);
    if (i < 60) box.push_back({r, before, after});
  }
  whole.setOtherParams(RegMetricParamBaseline);
  whole.reset();
  for (const auto& s : box) whole.increment(s[0], s[1]);
  whole.setOtherParams(RegMetricParamRemoved);
  whole.reset();
  for (const auto& s : box) whole.increment(s[0], s[2]);
  EXPECT_NEAR(whole.decrementIncrementAndGetResult(), changed.getResult(), 1e-12);
  EXPECT_EQ(whole.numSamples, 500);
  EXPECT_EQ(whole.numTotalSamples, 500);
}

TEST(RegMutualInformation, ReplacingABoxGivesTheValueOfTheWholeVolume) {
  expectReplacedBox<RegNormMutualInformation>();
  expectReplacedBox<RegSimpleMutualInformation>();
}

TEST(RegMutualInformation, ACopyKeepsTheBaselineAndStartsEmpty) {
  auto whole = bytes<RegNormMutualInformation>(5, 4.0);
  for (const double v : {0.0, 1.0, 1.0, 3.0}) whole.increment(v, v);
  const double value0 = whole.getResult();
  EXPECT_NEAR(value0, 2.0, 1e-14) << "a volume predicts itself";
  whole.setOtherParams(RegMetricParamBaseline);
  RegNormMutualInformation copy = whole;
  EXPECT_EQ(copy.numSamples, 0);
  EXPECT_EQ(sumOf(copy.jointHistogram), 0.0);
  EXPECT_EQ(copy.decrementIncrementAndGetResult(), value0) << "an empty box, nothing removed";
}

}  // namespace
