#include "variational/objective/mappedMetric.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "foundation/numbers/elementary.h"
#include "metrics/RegMetric.h"

namespace voxreg::detail {
namespace {

/// Sums are taken over portions of the slices and joined in order. The number depends on nothing,
/// so that results do not depend on how many portions are walked at a time.
constexpr int numPortions = 8;

HistogramAxis axisOf(const BinRange& range) {
  const int bins = std::max(range.bins, 2);
  const double extent = range.max - range.min;
  return {range.min, extent > 0.0 ? (bins - 1) / extent : 0.0, range.max, bins};
}

std::int64_t gradientSize(const DerivativeFrame<TensorMap>& frame) {
  const TensorAxis* const axes = frame.map.axes;
  return std::int64_t{3} * axes[0].numControls * axes[1].numControls * axes[2].numControls;
}

std::int64_t gradientSize(const DerivativeFrame<FieldMap>& frame) {
  const int* const dims = frame.walk.referenceDims;
  return std::int64_t{3} * dims[0] * dims[1] * dims[2];
}

void add(SampleSums& to, const SampleSums& part) {
  to.count += part.count;
  to.reference += part.reference;
  to.model += part.model;
  to.referenceSq += part.referenceSq;
  to.modelSq += part.modelSq;
  to.product += part.product;
  to.differenceSq += part.differenceSq;
}

double plogp(double p) {
  return p > 0.0 ? p * logarithm(p) : 0.0;
}

// |r| of Pearson. With S the sums of centred products, c = S_rm / sqrt(S_rr S_mm); by one m:
// dc = (r' / S_rm - m' / S_mm) c.
double correlationOf(const SampleSums& sums, LinearRule& rule) {
  const double n = sums.count;
  const double rr = sums.referenceSq - sums.reference * sums.reference / n;
  const double mm = sums.modelSq - sums.model * sums.model / n;
  const double rm = sums.product - sums.reference * sums.model / n;
  if (!(n >= 2.0) || !(rr > 0.0) || !(mm > 0.0)) return RegMetric::noStatement;
  const double root = std::sqrt(rr * mm);
  const double sign = rm < 0.0 ? -1.0 : 1.0;
  const double value = sign * rm / root;
  rule.byReference = sign / root;
  rule.byModel = -value / mm;
  rule.constant = -(rule.byReference * sums.reference + rule.byModel * sums.model) / n;
  return value;
}

}  // namespace

MappedMetric::MappedMetric(RegMetricKind kind, const Volume& reference, const Volume& model,
                           const BinRange& referenceBins, const BinRange& modelBins,
                           const DerivativeKernels& kernels)
    : kernels_(kernels),
      kind_(kind),
      reference_(reference),
      model_(model),
      rowsAxis_(axisOf(referenceBins)),
      columnsAxis_(axisOf(modelBins)) {}

void MappedMetric::setRows(std::vector<IndexSpan> rows) {
  rows_ = std::move(rows);
  firstGroups_.clear();
}

void MappedMetric::countGroups() {
  if (!firstGroups_.empty()) return;
  const NmVec3i dims = reference_.frame.dims;
  std::int64_t count = 0;
  for (int z = 0; z < static_cast<int>(dims.z); ++z) {
    firstGroups_.push_back(count);
    for (int y = 0; y < static_cast<int>(dims.y); ++y) {
      const IndexSpan span = rows_.empty()
                                 ? IndexSpan{0, static_cast<int>(dims.x)}
                                 : rows_[static_cast<std::size_t>(y + std::int64_t{dims.y} * z)];
      count += (std::max(span.end - span.first, 0) + groupSize - 1) / groupSize;
    }
  }
  groups_.resize(static_cast<std::size_t>(count));
  groupsX_.resize(static_cast<std::size_t>(count));
  rowCounts_.resize(static_cast<std::size_t>(std::int64_t{dims.y} * dims.z));
}

KeptSamples MappedMetric::keptOf(const IndexSpan& slices) {
  const auto first = firstGroups_[static_cast<std::size_t>(slices.first)];
  return {groups_.data() + first, groupsX_.data() + first,
          rowCounts_.data() + std::int64_t{reference_.frame.dims.y} * slices.first};
}

template <class Map, class F>
void MappedMetric::forEachPortion(const Frame<Map>& frame, F&& f) {
  scratch_.resize(static_cast<std::size_t>(derivativeScratch(frame.map)) + 8);
  const auto address = reinterpret_cast<std::uintptr_t>(scratch_.data());
  double* const scratch = scratch_.data() + (64 - address % 64) % 64 / sizeof(double);
  const int nz = frame.walk.referenceDims[2];
  for (int p = 0; p < numPortions; ++p) {
    const IndexSpan slices = {static_cast<int>(std::int64_t{nz} * p / numPortions),
                              static_cast<int>(std::int64_t{nz} * (p + 1) / numPortions)};
    if (slices.end > slices.first) f(slices, scratch);
  }
}

/// Portions share controls, so that each has a gradient of its own first.
template <class Walk>
void MappedMetric::gather(const Frame<TensorMap>& frame, std::int64_t n, double* gradient,
                          Walk&& walk) {
  std::fill_n(gradient, n, 0.0);
  forEachPortion(frame, [&](const IndexSpan& slices, double* scratch) {
    portionGradient_.assign(static_cast<std::size_t>(n), 0.0);
    walk(slices, scratch, portionGradient_.data());
    for (std::int64_t i = 0; i < n; ++i)
      gradient[i] += portionGradient_[static_cast<std::size_t>(i)];
  });
}

template <class Walk>
void MappedMetric::gather(const Frame<FieldMap>& frame, std::int64_t /*n*/, float* gradient,
                          Walk&& walk) {
  forEachPortion(
      frame, [&](const IndexSpan& slices, double* scratch) { walk(slices, scratch, gradient); });
}

template <class Map>
SampleSums MappedMetric::sumsOf(const Frame<Map>& frame) {
  SampleSums sums;
  forEachPortion(frame, [&](const IndexSpan& slices, double* scratch) {
    SampleSums part;
    walksOf(frame.map).sums[model_.type](frame, slices, scratch, part);
    add(sums, part);
  });
  return sums;
}

template <class Map>
SampleSums MappedMetric::walkLinear(const Frame<Map>& frame, const LinearRule& rule,
                                    typename Map::Derivative* gradient) {
  SampleSums sums;
  gather(frame, gradientSize(frame), gradient,
         [&](const IndexSpan& slices, double* scratch, typename Map::Derivative* to) {
           SampleSums part;
           walksOf(frame.map).linear[model_.type](frame, slices, scratch, rule, part, to);
           add(sums, part);
         });
  return sums;
}

template <class Map>
double MappedMetric::information(const Frame<Map>& frame, typename Map::Derivative* gradient) {
  const DerivativeWalks<Map>& walks = walksOf(frame.map);
  const int type = frame.walk.modelType;
  const auto bins = static_cast<std::size_t>(std::int64_t{rowsAxis_.count} * columnsAxis_.count);
  histogram_.assign(bins, 0.0);
  if (gradient != nullptr) countGroups();
  std::int64_t count = 0;
  forEachPortion(frame, [&](const IndexSpan& slices, double* scratch) {
    portionHistogram_.assign(bins, 0.0);
    HistogramSums sums = {rowsAxis_, columnsAxis_, portionHistogram_.data()};
    if (gradient != nullptr)
      walks.histogramKeeping[type](frame, slices, scratch, sums, keptOf(slices));
    else
      walks.histogram[type](frame, slices, scratch, sums);
    for (std::size_t i = 0; i < bins; ++i) histogram_[i] += portionHistogram_[i];
    count += sums.count;
  });
  numSamples_ = static_cast<double>(count);
  if (count == 0) return RegMetric::noStatement;
  const double value = fillSlopes();
  if (gradient == nullptr || value == RegMetric::noStatement) return value;
  const HistogramRule rule = {rowsAxis_, columnsAxis_, slopes_.data()};
  gather(frame, gradientSize(frame), gradient,
         [&](const IndexSpan& slices, double* scratch, typename Map::Derivative* to) {
           walks.kept(frame, slices, scratch, rule, keptOf(slices), to);
         });
  return value;
}

double MappedMetric::evaluate(const TensorMap& map, double* gradient) {
  return evaluateBy(map, gradient);
}

double MappedMetric::evaluate(const FieldMap& map, float* gradient) {
  return evaluateBy(map, gradient);
}

template <class Map>
double MappedMetric::evaluateBy(const Map& map, typename Map::Derivative* gradient) {
  Frame<Map> frame = {};
  Walk& walk = frame.walk;
  walk.reference = reference_.voxels;
  walk.referenceType = reference_.type;
  walk.model = model_.voxels;
  walk.modelType = model_.type;
  for (int axis = 0; axis < 3; ++axis) {
    walk.referenceDims[axis] = reference_.frame.dims[axis];
    walk.modelDims[axis] = model_.frame.dims[axis];
  }
  walk.rowStep[1] = static_cast<double>(reference_.frame.voxelSize.y) /
                    static_cast<double>(model_.frame.voxelSize.y);
  frame.rows = rows_.empty() ? nullptr : rows_.data();
  frame.map = map;
  if (kind_ == RegMetricMeanSquaredDifference) return difference(frame, gradient);
  if (kind_ == RegMetricCorrelationRatio) return correlation(frame, gradient);
  return information(frame, gradient);
}

template <class Map>
double MappedMetric::difference(const Frame<Map>& frame, typename Map::Derivative* gradient) {
  const SampleSums sums =
      gradient == nullptr ? sumsOf(frame) : walkLinear(frame, {2.0, -2.0, 0.0}, gradient);
  numSamples_ = sums.count;
  if (!(sums.count > 0.0)) return RegMetric::noStatement;
  const auto count = static_cast<typename Map::Derivative>(sums.count);
  const std::int64_t size = gradient != nullptr ? gradientSize(frame) : 0;
  for (std::int64_t i = 0; i < size; ++i) gradient[i] /= count;
  return -sums.differenceSq / sums.count;
}

/// The rule is known after the first walk. A second one is faster than sums of what each of its
/// terms weighs, or samples kept for it.
template <class Map>
double MappedMetric::correlation(const Frame<Map>& frame, typename Map::Derivative* gradient) {
  const SampleSums sums = sumsOf(frame);
  numSamples_ = sums.count;
  LinearRule rule;
  const double value = correlationOf(sums, rule);
  if (gradient != nullptr && value != RegMetric::noStatement) walkLinear(frame, rule, gradient);
  return value;
}

// With p the shares of the bins, H the entropies and N the samples, the derivative by the weight of
// one sample in bin (r, m) is, up to a constant, (nmi log p_rm - log p_m) / (N H_rm) for
// nmi = (H_r + H_m) / H_rm, and (log p_rm - log p_m) / N for mi = H_r + H_m - H_rm. A sample's
// weight moves from one column to the next as its value rises. An empty bin counts as one of a
// millionth of a sample.
double MappedMetric::fillSlopes() {
  const int numRows = rowsAxis_.count;
  const int columns = columnsAxis_.count;
  const double n = numSamples_;
  std::vector<double> rowSums(static_cast<std::size_t>(numRows), 0.0);
  std::vector<double> columnSums(static_cast<std::size_t>(columns), 0.0);
  double joint = 0.0;
  for (int r = 0; r < numRows; ++r)
    for (int c = 0; c < columns; ++c) {
      const double p = histogram_[static_cast<std::size_t>(std::int64_t{r} * columns + c)] / n;
      rowSums[static_cast<std::size_t>(r)] += p;
      columnSums[static_cast<std::size_t>(c)] += p;
      joint -= plogp(p);
    }
  double ofRows = 0.0;
  double ofColumns = 0.0;
  for (const double p : rowSums) ofRows -= plogp(p);
  for (const double p : columnSums) ofColumns -= plogp(p);
  if (!(joint > 0.0)) return RegMetric::noStatement;
  const bool isNormalised = kind_ == RegMetricNormMutualInformation;
  const double value = isNormalised ? (ofRows + ofColumns) / joint : ofRows + ofColumns - joint;
  const double ofJoint = isNormalised ? value / (n * joint) : 1.0 / n;
  const double ofColumn = isNormalised ? 1.0 / (n * joint) : 1.0 / n;
  const double floor = 1e-6 / n;
  const auto term = [&](int r, int c) {
    const double p = histogram_[static_cast<std::size_t>(std::int64_t{r} * columns + c)] / n;
    return ofJoint * logarithm(std::max(p, floor)) -
           ofColumn * logarithm(std::max(columnSums[static_cast<std::size_t>(c)], floor));
  };
  slopes_.assign((static_cast<std::size_t>(numRows) + 2) * static_cast<std::size_t>(columns - 1),
                 0.0);
  for (int r = 0; r < numRows; ++r) {
    double before = term(r, 0);
    for (int c = 0; c + 1 < columns; ++c) {
      const double after = term(r, c + 1);
      slopes_[static_cast<std::size_t>(std::int64_t{r} * (columns - 1) + c)] =
          (after - before) * columnsAxis_.scale;
      before = after;
    }
  }
  return value;
}

}  // namespace voxreg::detail
