#include "metrics/RegMutualInformation.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "foundation/NmLogFile.h"
#include "foundation/numbers/elementary.h"
#include "metrics/entropyTerms.h"

using voxreg::detail::logarithm;
using voxreg::detail::takeLogarithms;

namespace {

/// Limit on the bins of a joint histogram: 32 MiB, of which a metric holds up to five.
constexpr int mostBins = 4194304;

/// The integer part, clamped to [-limit - 1, limit]; NaN gives 0.
template <class T>
T integerPart(double value, double limit) {
  if (!(value == value)) return 0;
  return static_cast<T>(std::clamp(value, -limit - 1.0, limit));
}

int forLog(double value) {
  return integerPart<int>(value, 2147483647.0);
}

/// Nearest integer below or at value + 1/2, exact as a double.
long long rounded(double value) {
  return integerPart<long long>(std::floor(value + 0.5), 0x1p53);
}

bool isIntegerType(NmPrimType type) {
  constexpr unsigned integerTypes = 0x387;
  return type >= 0 && type < 10 && (integerTypes >> type & 1u) != 0;
}

/// The lower of a value's two bins, and the weights of both.
struct Bins {
  int lower;
  double weights[2];

  Bins(double position, int numBins) {
    if (!(position >= 0.0)) {
      lower = 0;
    } else if (position >= numBins - 1) {
      lower = numBins - 2;
    } else {
      lower = static_cast<int>(position);
    }
    const double fraction = std::min(position - lower, 1.0);
    weights[1] = fraction > 0.0 ? fraction : 0.0;
    weights[0] = 1.0 - weights[1];
  }
};

void resizeWithZeros(NmDArray<double>& histogram, std::int64_t size) {
  const std::int64_t before = histogram.size;
  histogram.resize(size);
  for (std::int64_t k = before; k < size; ++k) histogram[k] = 0.0;
}

/// Clears an array and makes its elements zeros that take no memory until they are written. The
/// metrics of levels that are not searched yet never write them.
void makeZeroed(NmDArray<double>& histogram, std::int64_t size) {
  histogram.data = static_cast<double*>(nmcalloc(static_cast<std::size_t>(size) * sizeof(double)));
  histogram.max = histogram.size = size;
}

/// Number of sums of bins that are computed in parallel, since each addition to a sum depends on
/// the previous one.
constexpr int sumsAtOnce = 8;

/// Subtracts p log p for p = sum / n from the entropy, one sum after the other.
void subtractTerms(const double (&sums)[sumsAtOnce], int count, double n, double& entropy) {
  double shares[sumsAtOnce];
  double logarithms[sumsAtOnce];
  for (int i = 0; i < sumsAtOnce; ++i) {
    const double share = sums[i] / n;
    shares[i] = logarithms[i] = share > 0.0 ? share : 1.0;  // 1 has a term of 0
  }
  takeLogarithms(logarithms, sumsAtOnce);
  for (int i = 0; i < count; ++i) entropy -= shares[i] * logarithms[i];
}

}  // namespace

RegMutualInformation::RegMutualInformation(NmPrimType typeRef, NmPrimType typeModel,
                                           double minReference, double maxReference,
                                           double minimumModel, double maximumModel, int binsRef,
                                           int binsModel, double minCoverageValue,
                                           bool smoothCoveragePenaltyValue)
    : RegMetric(minCoverageValue, smoothCoveragePenaltyValue),
      primTypeRef(typeRef),
      primTypeModel(typeModel),
      minRef(minReference),
      minModel(minimumModel),
      maxRef(maxReference),
      maxModel(maximumModel),
      numBinsRef(std::min(binsRef, mostBins)),
      numBinsMod(std::min(binsModel, mostBins)) {
  initBins();
  NmLogFile& log = getTheLogInstance();
  log.printf("minRef, maxRef: %d %d\n", forLog(minReference), forLog(maxReference));
  log.printf("minMod, maxMod: %d %d\n", forLog(minimumModel), forLog(maximumModel));
  log.printf("numBinsRef, numBinsMod: %d %d\n", numBinsRef, numBinsMod);
  makeZeroed(jointHistogram, static_cast<std::int64_t>(numBinsRef) * numBinsMod);
}

// Both counts are reduced in proportion until the joint histogram is within its limit of bins. That
// takes several rounds if one bin per value is more than was requested.
void RegMutualInformation::initBins() {
  int asked[2] = {numBinsRef, numBinsMod};
  for (;;) {
    numBinsRef = asked[0];
    numBinsMod = asked[1];
    init1D(primTypeRef, numBinsRef, minRef, scaleRef, maxRef);
    init1D(primTypeModel, numBinsMod, minModel, scaleModel, maxModel);
    // A value at the upper bound still has an upper neighbour.
    ++numBinsRef;
    ++numBinsMod;
    const double bins = static_cast<double>(numBinsRef) * numBinsMod;
    if (bins <= mostBins) return;
    for (int& count : asked)
      count = std::clamp(static_cast<int>(count * std::sqrt(mostBins / bins)), 1,
                         std::max(count - 1, 1));
  }
}

RegMutualInformation::RegMutualInformation(const RegMutualInformation& other)
    : RegMetric(other.minCoverage, other.smoothCoveragePenalty),
      primTypeRef(other.primTypeRef),
      primTypeModel(other.primTypeModel),
      minRef(other.minRef),
      scaleRef(other.scaleRef),
      minModel(other.minModel),
      scaleModel(other.scaleModel),
      maxRef(other.maxRef),
      maxModel(other.maxModel),
      numBinsRef(other.numBinsRef),
      numBinsMod(other.numBinsMod),
      baselineCounts{other.baselineCounts[0], other.baselineCounts[1]},
      baselineHistogram(other.baselineHistogram),
      knownBins_(other.knownBins_),
      knownTerms_(other.knownTerms_) {
  makeZeroed(jointHistogram, static_cast<std::int64_t>(numBinsRef) * numBinsMod);
}

bool RegMutualInformation::canAccumulate() const {
  return numBinsRef >= 2 && numBinsMod >= 2 &&
         jointHistogram.size == static_cast<std::int64_t>(numBinsRef) * numBinsMod;
}

void RegMutualInformation::init1D(NmPrimType type, int& numBins, double& min, double& scale,
                                  double max) {
  numBins = std::clamp(numBins, 1, mostBins);
  if (isIntegerType(type)) {
    const long long lo = rounded(min);
    const long long hi = rounded(max);
    const long long range = hi - lo;
    min = static_cast<double>(lo);
    max = static_cast<double>(hi);
    if (numBins > range) {
      numBins = static_cast<int>(std::max(range + 1, 1LL));
    } else if (hi > lo) {
      const auto wide = static_cast<float>(range);
      const float width = std::floor(wide / static_cast<float>(numBins) + 0.5f);
      numBins = std::clamp(static_cast<int>(wide / width), 1, mostBins);
    }
  }
  scale = 0.0;
  if (max == min)
    numBins = 1;
  else
    scale = (numBins - 1) / (max - min);
}

void RegMutualInformation::reset() {
  RegMetric::reset();
  if (jointHistogram.size > 0)
    std::memset(jointHistogram.data, 0,
                static_cast<std::size_t>(jointHistogram.size) * sizeof(double));
}

void RegMutualInformation::setOtherParams(RegMetricParamType type) {
  if (type == RegMetricParamBaseline) {
    baselineHistogram = jointHistogram;
    knownBins_ = jointHistogram;
    voxreg::detail::takeEntropyTerms(knownBins_, knownTerms_);
    baselineCounts[0] = numSamples;
    baselineCounts[1] = numTotalSamples;
  } else if (type == RegMetricParamRemoved) {
    removedHistogram = jointHistogram;
    removedCounts[0] = numSamples;
    removedCounts[1] = numTotalSamples;
  }
}

void RegMutualInformation::prepareCombination() {
  resizeWithZeros(baselineHistogram, jointHistogram.size);
  resizeWithZeros(removedHistogram, jointHistogram.size);
  numTotalSamples = baselineCounts[1];
  numSamples += baselineCounts[0] - removedCounts[0];
}

void RegMutualInformation::addWeights(double ref, double model, double sign) {
  if (!canAccumulate()) return;
  const Bins rows((ref - minRef) * scaleRef, numBinsRef);
  const Bins columns((model - minModel) * scaleModel, numBinsMod);
  double* const bin =
      jointHistogram.data + static_cast<std::int64_t>(rows.lower) * numBinsMod + columns.lower;
  bin[0] += sign * (rows.weights[0] * columns.weights[0]);
  bin[numBinsMod] += sign * (rows.weights[1] * columns.weights[0]);
  bin[1] += sign * (rows.weights[0] * columns.weights[1]);
  bin[numBinsMod + 1] += sign * (rows.weights[1] * columns.weights[1]);
}

void RegMutualInformation::increment(double ref, double model) {
  RegMetric::increment(ref, model);
  addWeights(ref, model, 1.0);
}

void RegMutualInformation::decrement(double ref, double model) {
  RegMetric::decrement(ref, model);
  addWeights(ref, model, -1.0);
}

bool RegMutualInformation::supportsMarginalMetric() {
  return true;
}

void RegMutualInformation::getMarginalEntropies(double& entropyRef, double& entropyModel) const {
  const auto n = static_cast<double>(numSamples);
  entropyRef = 0.0;
  entropyModel = 0.0;
  if (!canAccumulate()) return;
  for (int first = 0; first < numBinsRef; first += sumsAtOnce) {
    const double* rows[sumsAtOnce];
    for (int i = 0; i < sumsAtOnce; ++i)
      rows[i] = jointHistogram.data +
                static_cast<std::int64_t>(std::min(first + i, numBinsRef - 1)) * numBinsMod;
    double sums[sumsAtOnce] = {};
    for (int j = 0; j < numBinsMod; ++j)
      for (int i = 0; i < sumsAtOnce; ++i) sums[i] += rows[i][j];
    subtractTerms(sums, std::min(sumsAtOnce, numBinsRef - first), n, entropyRef);
  }
  const auto addColumns = [&](int first, auto count) {
    double sums[sumsAtOnce] = {};
    for (int i = 0; i < numBinsRef; ++i) {
      const double* const row =
          jointHistogram.data + static_cast<std::int64_t>(i) * numBinsMod + first;
      for (int j = 0; j < count; ++j) sums[j] += row[j];
    }
    subtractTerms(sums, count, n, entropyModel);
  };
  int first = 0;
  for (; first + sumsAtOnce <= numBinsMod; first += sumsAtOnce)
    addColumns(first, std::integral_constant<int, sumsAtOnce>());
  addColumns(first, numBinsMod - first);
}

void RegMutualInformation::getJointEntropy(double& entropy) const {
  // -sum (v/n) log (v/n) with sum v = n, rewritten so that no bin needs a division.
  const double sum = voxreg::detail::subtractEntropyTerms(jointHistogram, knownBins_, knownTerms_);
  const auto n = static_cast<double>(numSamples);
  entropy = sum / n + logarithm(n);
}
