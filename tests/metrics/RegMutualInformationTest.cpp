#include "metrics/RegMutualInformation.h"

#include <cmath>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "metrics/RegNormMutualInformation.h"
#include "metrics/RegSimpleMutualInformation.h"
#include "tests/metrics/replacedBox.h"
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

TEST(RegMutualInformation, IntegerAxesGetWholeGreyValuesPerBin) {
  const struct {
    int type;
    int wanted;
    double min, max;
    int numBins;
    double binMin, scale;
  } cases[] = {
      {NmPrimType::UnsignedChar, 64, 0, 255, 63, 0, 62.0 / 255},
      {NmPrimType::UnsignedChar, 300, 0, 255, 256, 0, 1},
      {NmPrimType::Short, 10, -0.6, 99.5, 10, -1, 9.0 / 101},  // 101 grey values in steps of 10
      {NmPrimType::Int, 100, -2147483648.0, 2147483647.0, 100, -2147483648.0, 99 / 4294967295.0},
      {NmPrimType::Float, 40, 0.25, 0.75, 40, 0.25, 78},
      {NmPrimType::Float, 40, 7, 7, 1, 7, 0},
      {NmPrimType::Short, 40, 6.5, 7.4, 1, 7, 0},
      {NmPrimType::Short, 40, 9, 2, 1, 9, 0},
      {NmPrimType::Short, -5, 0, 10, 1, 0, 0},
      {NmPrimType::Float, -5, 0, 10, 1, 0, 0},
  };
  for (const auto& c : cases) {
    int numBins = c.wanted;
    double min = c.min;
    double scale = -1.0;
    RegMutualInformation::init1D(c.type, numBins, min, scale, c.max);
    EXPECT_EQ(numBins, c.numBins) << c.type << ' ' << c.wanted;
    EXPECT_EQ(min, c.binMin) << c.type << ' ' << c.wanted;
    EXPECT_DOUBLE_EQ(scale, c.scale) << c.type << ' ' << c.wanted;
    numBins = 2000000000;
    RegMutualInformation::init1D(c.type, numBins, min, scale, 1.0e9);
    EXPECT_LE(numBins, 4194304) << "can be allocated";
  }
}

TEST(RegMutualInformation, TooManyBinsAreLoweredInProportion) {
  const LogCapture quiet;
  const struct {
    int type;
    double max;
    int ref, model;
    double share;  // of the rows in the columns
  } cases[] = {{NmPrimType::Float, 1.0, 50000000, 50000000, 1.0},
               {NmPrimType::Float, 1.0, 16384, 1024, 16.0},
               {NmPrimType::Float, 1.0, 2147483647, 1, 0.0},
               {NmPrimType::Short, 30000, 4000, 4000, 1.0},  // one bin per value at 15001 and more
               {NmPrimType::UnsignedShort, 65535, 65535, 65535, 1.0},
               {NmPrimType::Float, 1.0, 16384, 255, 64.0}};  // as many as there may be
  for (const auto& c : cases) {
    const RegNormMutualInformation metric(c.type, c.type, 0, c.max, 0, c.max, c.ref, c.model, 0.0,
                                          false);
    const double bins = static_cast<double>(metric.numBinsRef) * metric.numBinsMod;
    EXPECT_LE(bins, 4194304) << c.ref;
    EXPECT_GE(bins, 4194304 / 4) << c.ref << ": no fewer than needed";
    if (c.share > 0) {
      EXPECT_NEAR(static_cast<double>(metric.numBinsRef) / metric.numBinsMod, c.share,
                  0.02 * c.share);
    }
    EXPECT_EQ(metric.jointHistogram.size, static_cast<long>(bins));
  }
}

TEST(RegMutualInformation, ConstructionLogsWhatItWasGiven) {
  LogCapture log;
  const RegNormMutualInformation metric(NmPrimType::Short, NmPrimType::Float, -0.6, 99.9,
                                        -2147483648.0, 1e30, 10, 20, 1.0, false);
  const std::vector<std::string> expected = {"minRef, maxRef: 0 99",
                                             "minMod, maxMod: -2147483648 2147483647",
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

// Rows 0 and 1, columns 0 and 1 with shares 1/2, 1/4, 0, 1/4.
TEST(RegMutualInformation, EntropiesOfAKnownHistogram) {
  const double rows = -(0.75 * std::log(0.75) + 0.25 * std::log(0.25));
  const double columns = std::log(2.0);
  const double joint = 0.5 * std::log(2.0) + 0.5 * std::log(4.0);
  auto normalised = bytes<RegNormMutualInformation>(5, 4.0);
  auto simple = bytes<RegSimpleMutualInformation>(5, 4.0);
  const struct {
    RegMutualInformation& metric;
    double ofOneBin, value, penalised;
  } cases[] = {{normalised, -1000.0, (rows + columns) / joint, 0.8 * (rows + columns) / joint},
               {simple, 0.0, rows + columns - joint, 0.5 * (rows + columns - joint)}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.metric.getResult(), -1000.0);
    c.metric.increment(2.0, 2.0);
    EXPECT_EQ(c.metric.getResult(), c.ofOneBin) << "which has no entropy";
    c.metric.reset();
    for (const auto& [reference, model] : {std::pair(0.0, 0.0), {0.0, 0.0}, {0.0, 1.0}, {1.0, 1.0}})
      c.metric.increment(reference, model);
    EXPECT_NEAR(c.metric.getResult(), c.value, 1e-14);
    c.metric.minCoverage = 1.0;
    c.metric.numTotalSamples = 40;  // half a fifth
    EXPECT_NEAR(c.metric.getResult(), c.penalised, 1e-14);
  }
}

TEST(RegMutualInformation, EntropiesAreThoseOfTheFormulaWithAnyBaseline) {
  auto plain = bytes<RegNormMutualInformation>(40);
  auto based = bytes<RegNormMutualInformation>(40);
  std::mt19937 random(3);
  std::uniform_real_distribution<double> value(0.0, 120.0);
  for (int i = 0; i < 500; ++i) {
    if (i == 400) based.setOtherParams(RegMetricParamBaseline);
    const double reference = value(random), model = value(random);
    for (auto* metric : {&plain, &based}) metric->increment(reference, model);
  }
  const long empty = plain.jointHistogram.size - 1;
  based.jointHistogram[empty] = plain.jointHistogram[empty] = -1.0e-17;  // left by a removed box
  double joint = 0.0, rows = 0.0;
  const auto add = [&](double& entropy, double sum) {
    const double share = sum / static_cast<double>(plain.numSamples);
    if (sum > 0.0) entropy -= share * std::log(share);
  };
  for (int i = 0; i < plain.numBinsRef; ++i) {
    const double* const row = plain.jointHistogram.data + i * plain.numBinsMod;
    add(rows, std::accumulate(row, row + plain.numBinsMod, 0.0));
    for (int j = 0; j < plain.numBinsMod; ++j) add(joint, row[j]);
  }
  for (const auto* metric : {&plain, &based}) {
    double found[3];
    metric->getMarginalEntropies(found[0], found[1]);
    metric->getJointEntropy(found[2]);
    EXPECT_NEAR(found[0], rows, 1e-12);
    EXPECT_NEAR(found[2], joint, 1e-12);
  }
  EXPECT_EQ(based.getResult(), plain.getResult()) << "to the last bit";
  EXPECT_EQ(RegNormMutualInformation(based).getResult(), -1000.0) << "a copy starts empty";
}

TEST(RegMutualInformation, ReplacingABoxGivesTheValueOfTheWholeVolume) {
  const auto normalised = [] { return bytes<RegNormMutualInformation>(32, 255.0, 0.9); };
  const auto simple = [] { return bytes<RegSimpleMutualInformation>(32, 255.0, 0.9); };
  replacedBox::expectValueOfTheWhole(normalised(), normalised());
  replacedBox::expectValueOfTheWhole<RegSimpleMutualInformation>(simple(), simple());
}

}  // namespace
