#include "variational/fields/localCorrelation.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace voxreg::detail {
namespace {

constexpr int tileRows = 24;  // the rings of 181 voxels a row take 0.9 MiB

/// The row's voxels within `radius` of the rows' spans.
void widen(const IndexSpan& span, int radius, int n, IndexSpan& result) {
  if (span.first >= span.end) return;
  const IndexSpan wide = {std::max(span.first - radius, 0), std::min(span.end + radius, n)};
  if (result.first >= result.end) {
    result = wide;
    return;
  }
  result.first = std::min(result.first, wide.first);
  result.end = std::max(result.end, wide.end);
}

/// What is within `radius` along x, and along y or z, of each span. `step` is the number of spans
/// from one to the next along that axis, which has n.
std::vector<IndexSpan> widened(const std::vector<IndexSpan>& spans, const NmVec3i& dims, int axis,
                               int radius) {
  const std::ptrdiff_t step = axis == 1 ? 1 : dims.y;
  const int alongX = axis == 1 ? radius : 0;
  std::vector<IndexSpan> result(spans.size(), IndexSpan{0, 0});
  for (std::size_t i = 0; i < spans.size(); ++i) {
    const int place = static_cast<int>(static_cast<std::ptrdiff_t>(i) / step) % dims[axis];
    const int first = std::max(place - radius, 0);
    const int last = std::min(place + radius, dims[axis] - 1);
    for (int k = first; k <= last; ++k)
      widen(spans[static_cast<std::size_t>(static_cast<std::ptrdiff_t>(i) + (k - place) * step)],
            alongX, dims.x, result[i]);
  }
  return result;
}

bool isPresent(float value) {
  return std::abs(value) <= largestCorrelated;
}

std::vector<IndexSpan> countingSpans(const std::vector<float>& reference,
                                     const std::vector<unsigned char>& counts,
                                     const NmVec3i& dims) {
  std::vector<IndexSpan> spans(static_cast<std::size_t>(std::int64_t{dims.y} * dims.z));
  std::size_t row = 0;
  for (IndexSpan& span : spans) {
    const auto isCounting = [&](int x) {
      const std::size_t i = row + static_cast<std::size_t>(x);
      return (counts.empty() || counts[i] != 0) && isPresent(reference[i]);
    };
    span = {0, dims.x};
    while (span.end > 0 && !isCounting(span.end - 1)) --span.end;
    while (span.first < span.end && !isCounting(span.first)) ++span.first;
    row += static_cast<std::size_t>(dims.x);
  }
  return spans;
}

}  // namespace

LocalCorrelation::LocalCorrelation(const std::vector<float>& reference,
                                   const std::vector<unsigned char>& counts, const NmVec3i& dims,
                                   const Options& options, const LocalCorrelationKernels& kernels)
    : reference_(reference), counts_(counts), dims_(dims), options_(options), kernels_(kernels) {
  options_.radius = std::clamp(options_.radius, 1, maxCorrelationRadius);
  options_.eps = std::max(options_.eps, 1e-5);
  spans_.counting = countingSpans(reference, counts, dims);
  spans_.beside = widened(spans_.counting, dims, 1, options_.radius);
  spans_.around = widened(spans_.beside, dims, 2, options_.radius);
}

double LocalCorrelation::evaluate(const std::vector<float>& warped, VoxelField* force) const {
  CorrelationFrame frame = {kernels_,
                            spans_,
                            dims_,
                            options_.radius,
                            {static_cast<float>(options_.eps),
                             options_.anyContrast ? -std::numeric_limits<float>::infinity() : 0.0f},
                            reference_.data(),
                            warped.data(),
                            counts_.empty() ? nullptr : counts_.data(),
                            {nullptr, nullptr, nullptr}};
  if (force != nullptr) {
    force->dims = dims_;
    for (int axis = 0; axis < 3; ++axis) {
      force->along[axis].resize(reference_.size());
      frame.force[axis] = force->along[axis].data();
    }
  }
  CorrelationTile tile(frame, std::min(tileRows, dims_.y));
  CorrelationSum sum;
  for (int y = 0; y < dims_.y; y += tileRows) {
    const CorrelationSum part = tile.run({y, std::min(y + tileRows, dims_.y)});
    sum.squares += part.squares;
    sum.counted += part.counted;
  }
  return sum.counted > 0 ? sum.squares / static_cast<double>(sum.counted) : 0.0;
}

}  // namespace voxreg::detail
