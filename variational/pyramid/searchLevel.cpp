#include "variational/pyramid/searchLevel.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "metrics/RegMetric.h"

#include "variational/pyramid/body.h"
#include "variational/pyramid/cubicDoubling.h"

namespace voxreg::detail {
namespace {

constexpr int leastVoxels = 8;  // along an axis of a reduced volume

/// Voxels of the doubled model. Doubling takes the blur out of trilinear samples, and eight times
/// the memory; on finer volumes it gains little (docs/searches.md). Small volumes are doubled
/// twice.
constexpr std::int64_t mostDoubled = 40'000'000;
constexpr int mostDoublings = 2;

const NmVec3i fullResolution(1, 1, 1);

bool isFull(const NmVec3i& factors) {
  return factors == fullResolution;
}

NmVec3i factorsFor(const VolumeFrame& volume, double voxelSize) {
  constexpr double slack = 1.2;  // voxels that are a little larger will do (empirical)
  NmVec3i factors = fullResolution;
  for (int a = 0; a < 3; ++a)
    while (2 * factors[a] * static_cast<double>(volume.voxelSize[a]) <= slack * voxelSize &&
           volume.dims[a] / (2 * factors[a]) >= leastVoxels)
      factors[a] *= 2;
  return factors;
}

/// The values of a level that count.
HistogramRange rangeOf(const std::vector<float>& voxels) {
  float low = 0.0f;
  float high = 0.0f;
  bool isFirst = true;
  for (const float value : voxels) {
    if (!std::isfinite(value)) continue;
    low = isFirst ? value : std::min(low, value);
    high = isFirst ? value : std::max(high, value);
    isFirst = false;
  }
  return {static_cast<double>(low), static_cast<double>(high)};
}

BinRange binsOf(const std::optional<HistogramRange>& asked, const std::vector<float>& voxels,
                int bins) {
  const HistogramRange range = asked ? *asked : rangeOf(voxels);
  return {range.low, range.high, bins};
}

/// Up to 64, and about eight voxels for each pair of bins (empirical).
int binsFor(const std::vector<float>& voxels) {
  constexpr double least = 16.0;
  constexpr double most = 64.0;
  constexpr double voxelsOfPair = 8.0;
  const auto count = static_cast<double>(
      std::count_if(voxels.begin(), voxels.end(), [](float v) { return std::isfinite(v); }));
  return static_cast<int>(std::clamp(std::sqrt(count / voxelsOfPair), least, most));
}

/// Of the values that count; 1 if they are all equal.
double varianceOf(const std::vector<float>& voxels) {
  double count = 0.0;
  double sum = 0.0;
  double squares = 0.0;
  for (const float value : voxels) {
    if (!std::isfinite(value)) continue;
    const auto v = static_cast<double>(value);
    count += 1.0;
    sum += v;
    squares += v * v;
  }
  const double variance = count > 0.0 ? (squares - sum * sum / count) / count : 0.0;
  return variance > 0.0 ? variance : 1.0;
}

std::int64_t doubledCount(const NmVec3i& dims) {
  std::int64_t count = 1;
  for (int a = 0; a < 3; ++a) count *= 2 * std::int64_t{dims[a]} - 1;
  return count;
}

MappedMetric::Volume volumeOf(const LevelVolume& level) {
  return {level.voxels.data(), voxelTypeIndex<float>, level.frame};
}

/// Adds full resolution. The first level, which may be the same, is smoothed: samples between
/// voxels are smoother than those at voxels, so in noisy volumes every grid on which all samples
/// are at voxels is a maximum of its own (J. P. W. Pluim et al., Interpolation artefacts in mutual
/// information-based image registration, 2000). Smooth volumes hardly have them.
std::vector<LevelFactors> withSmoothedStart(std::vector<LevelFactors> levels,
                                            const VolumeFrame& reference,
                                            const VolumeFrame& model) {
  const LevelFactors full = {fullResolution, factorsFor(model, finestVoxelSize(reference))};
  if (levels.empty()) levels.push_back(full);
  levels.front().isSmoothed = true;
  levels.push_back(full);
  return levels;
}

}  // namespace

double finestVoxelSize(const VolumeFrame& volume) {
  double finest = 0.0;
  for (int a = 0; a < 3; ++a) {
    const auto size = static_cast<double>(volume.voxelSize[a]);
    if (volume.dims[a] > 1 && (finest == 0.0 || size < finest)) finest = size;
  }
  return finest;
}

std::vector<LevelFactors> levelFactors(const VolumeFrame& reference, const VolumeFrame& model,
                                       int largest) {
  std::vector<LevelFactors> levels;
  const double finest = finestVoxelSize(reference);
  for (int reduction = largest; reduction > 1; reduction /= 2) {
    const LevelFactors factors = {factorsFor(reference, reduction * finest),
                                  factorsFor(model, reduction * finest)};
    const bool isCoarser = levels.empty() || !(levels.back().reference == factors.reference);
    if (isCoarser && !isFull(factors.reference)) levels.push_back(factors);
  }
  return withSmoothedStart(std::move(levels), reference, model);
}

std::vector<LevelFactors> levelFactors(const VolumeFrame& reference, const VolumeFrame& model,
                                       const NmVec3i& coarsest) {
  std::vector<LevelFactors> levels;
  for (NmVec3i factors = coarsest; !isFull(factors);) {
    const VolumeFrame reduced = reducedFrame(reference, factors);
    levels.push_back({factors, factorsFor(model, finestVoxelSize(reduced))});
    for (int a = 0; a < 3; ++a) factors[a] = std::max(factors[a] / 2, 1);
  }
  return withSmoothedStart(std::move(levels), reference, model);
}

bool SearchLevel::isLarge() const {
  constexpr std::int64_t many = 2'000'000;
  return voxelCount(reference_.frame.dims) > many;
}

void SearchLevel::sample(std::vector<IndexSpan> rows) {
  numCounting_ = 0.0;
  const float* voxel = reference_.voxels.data();
  for (const IndexSpan& row : rows) {
    for (int x = row.first; x < row.end; ++x)
      if (std::isfinite(voxel[x])) numCounting_ += 1.0;
    voxel += reference_.frame.dims.x;
  }
  metric_->setRows(std::move(rows));
}

void SearchLevel::sampleAll() {
  sample(rows_);
}

double SearchLevel::costOf(double metric, double* gradient, std::size_t n) {
  constexpr double tolerated = 0.8;  // of the best share
  if (metric == RegMetric::noStatement) {
    std::fill_n(gradient, n, 0.0);
    return std::numeric_limits<double>::infinity();
  }
  const double share = metric_->numSamples() / std::max(numCounting_, 1.0);
  bestShare_ = std::max(bestShare_, share);
  const double kept = std::min(share / (tolerated * bestShare_), 1.0);
  const bool isDifference = metricOfChance_ == 0.0 && metric <= 0.0;
  const double factor = (isDifference ? 1.0 / kept : kept) / metricUnit_;
  for (std::size_t i = 0; i < n; ++i) gradient[i] *= -factor;
  return costOfNothing_ - factor * (metric - metricOfChance_);
}

void SearchLevel::sampleSome() {
  const NmVec3i& dims = reference_.frame.dims;
  std::vector<IndexSpan> some = rows_;
  std::size_t row = 0;
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y, ++row)
      if (y % 2 != 0 || z % 2 != 0) some[row].end = some[row].first;
  sample(std::move(some));
}

double SearchLevel::finestVoxel() const {
  return finestVoxelSize(reference_.frame);
}

SearchLevel::SearchLevel(const SearchVolume& reference, const SearchVolume& model,
                         const LevelFactors& factors, const Comparison& comparison)
    : reference_(reducedVolume(reference, factors.reference)),
      model_(reducedVolume(model, factors.model)),
      modelFrame_(model_.frame),
      metricOfChance_(comparison.metric == RegMetricNormMutualInformation ? 1.0 : 0.0) {
  if (factors.isSmoothed) {
    reference_ = smoothedVolume(reference_);
    model_ = smoothedVolume(model_);
  }
  if (comparison.nearBodyOnly) skipFarFromBody(bodyThreshold(reference_.voxels), reference_);
  const int bins = comparison.bins > 0 ? comparison.bins : binsFor(reference_.voxels);
  const BinRange referenceBins = binsOf(comparison.referenceRange, reference_.voxels, bins);
  const BinRange modelBins = binsOf(comparison.modelRange, model_.voxels, bins);
  // Correlations are close to 1 long before volumes are aligned; gains are relative to the rest.
  if (comparison.metric == RegMetricCorrelationRatio) costOfNothing_ = 1.0;
  if (comparison.metric == RegMetricMeanSquaredDifference)
    metricUnit_ = varianceOf(reference_.voxels);
  const bool isFinest = isFull(factors.reference);
  const int doublings = isFinest && !factors.isSmoothed ? mostDoublings : 0;
  for (int k = 0; k < doublings && doubledCount(model_.frame.dims) <= mostDoubled; ++k)
    model_ = doubledVolume(model_);
  modelFrame_ = model_.frame;
  const bool isItself = isFinest && !factors.isSmoothed && isFull(factors.model) &&
                        model.mask == nullptr && modelFrame_.dims == model.frame.dims;
  if (isItself) model_.voxels = std::vector<float>();
  metric_.emplace(
      comparison.metric, volumeOf(reference_),
      isItself ? MappedMetric::Volume{model.voxels, model.type, model.frame} : volumeOf(model_),
      referenceBins, modelBins);
  rows_ = countingSpans(reference_);
  sampleAll();
}

}  // namespace voxreg::detail
