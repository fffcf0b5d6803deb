#include "variational/fields/correlationTile.h"

#include <algorithm>

namespace voxreg::detail {
namespace {

bool isEmpty(const IndexSpan& span) {
  return span.first >= span.end;
}

int roundedUp(int x) {
  return (x + rowBlock - 1) / rowBlock * rowBlock;
}

/// Whole blocks.
IndexSpan rounded(const IndexSpan& span) {
  return {span.first / rowBlock * rowBlock, roundedUp(span.end)};
}

}  // namespace

CorrelationTile::CorrelationTile(const CorrelationFrame& frame, int maxRows)
    : frame_(frame),
      kernels_(frame.kernels.ofRadius[frame.radius - 1]),
      radius_(frame.radius),
      taps_(2 * frame.radius + 1),
      inputs_(frame.dims.x, InputRow::count * (maxRows + 4 * radius_), taps_ + 1),
      factors_(frame.dims.x, WindowFactor::count * (maxRows + 2 * radius_), taps_),
      inputSlices_(frame.dims.x, WindowSum::count, taps_),
      factorSlices_(frame.dims.x, WindowFactor::count, taps_),
      windows_(frame.dims.x, WindowSum::count, 1),
      factorsAround_(frame.dims.x, WindowFactor::count, 1),
      counting_(frame.dims.x, 1, 1),
      zeros_(frame.dims.x, WindowSum::count, 1),
      written_(static_cast<std::size_t>((maxRows + 2 * radius_) * taps_), IndexSpan{0, 0}),
      squares_(static_cast<std::size_t>(2 * roundedUp(frame.dims.x))),
      counted_(squares_.size()) {
  stride_ = inputs_.stride();
}

CorrelationSum CorrelationTile::run(const IndexSpan& rows) {
  rows_ = rows;
  std::fill(squares_.begin(), squares_.end(), 0.0);
  std::fill(counted_.begin(), counted_.end(), 0);
  const int numSlices = frame_.dims.z;
  for (int z = 0; z < numSlices + 2 * radius_; ++z) {
    if (z < numSlices) load(z);
    if (z >= radius_ && z - radius_ < numSlices) correlate(z - radius_);
    if (z >= 2 * radius_ && frame_.force[0] != nullptr) findForces(z - 2 * radius_);
  }
  CorrelationSum sum;
  for (std::size_t x = 0; x < static_cast<std::size_t>(frame_.dims.x); ++x) {
    sum.squares += squares_[x];
    sum.counted += counted_[x];
  }
  return sum;
}

bool CorrelationTile::isInside(int y, int z) const {
  return y >= 0 && y < frame_.dims.y && z >= 0 && z < frame_.dims.z;
}

float* CorrelationTile::ownInputRows(int y, int z) {
  return inputs_.rowAt(InputRow::count * (y - rows_.first + 2 * radius_), z);
}

float* CorrelationTile::ownFactorRows(int y, int z) {
  return factors_.rowAt(WindowFactor::count * (y - rows_.first + radius_), z);
}

const float* CorrelationTile::inputRows(int y, int z) const {
  if (!isInside(y, z)) return zeros_.row(0, 0);
  return inputs_.rowAt(InputRow::count * (y - rows_.first + 2 * radius_), z);
}

const float* CorrelationTile::factorRows(int y, int z) const {
  if (!isInside(y, z)) return zeros_.row(0, 0);
  return factors_.rowAt(WindowFactor::count * (y - rows_.first + radius_), z);
}

void CorrelationTile::load(int z) {
  const int first = std::max(rows_.first - 2 * radius_, 0);
  const int end = std::min(rows_.end + 2 * radius_, frame_.dims.y);
  for (int y = first; y < end; ++y) {
    const IndexSpan span = at(frame_.spans.around, y, z);
    if (isEmpty(span)) continue;
    const std::int64_t from = rowIndex(y, z) * frame_.dims.x + span.first;
    float* const rows = ownInputRows(y, z) + span.first;
    frame_.kernels.copyPresent(frame_.reference + from, frame_.warped + from, span.end - span.first,
                               rows + InputRow::reference * stride_,
                               rows + InputRow::warped * stride_,
                               rows + InputRow::present * stride_);
  }
}

void CorrelationTile::addInputSlices(int y, int z) {
  if (!isInside(y, z) || isEmpty(at(frame_.spans.beside, y, z))) return;
  const IndexSpan span = rounded(at(frame_.spans.beside, y, z));
  const float* rows[maxTaps];
  for (int t = 0; t < taps_; ++t) rows[t] = inputRows(y, z + t - radius_) + span.first;
  kernels_.addProducts(rows, span.end - span.first, stride_, inputSlices_.rowAt(0, y) + span.first);
}

void CorrelationTile::addFactorSlices(int y, int z) {
  if (!isInside(y, z) || isEmpty(at(frame_.spans.beside, y, z))) return;
  const IndexSpan span = rounded(at(frame_.spans.beside, y, z));
  const float* rows[maxTaps];
  for (int t = 0; t < taps_; ++t) rows[t] = factorRows(y, z + t - radius_) + span.first;
  kernels_.addRows(rows, WindowFactor::count, span.end - span.first, stride_,
                   factorSlices_.rowAt(0, y) + span.first);
}

void CorrelationTile::addLines(const RowRing& slices, int kinds, int y, const IndexSpan& span,
                               RowRing& sums) const {
  const IndexSpan wide =
      rounded({std::max(span.first - radius_, 0), std::min(span.end + radius_, frame_.dims.x)});
  const float* rows[maxTaps];
  for (int t = 0; t < taps_; ++t) {
    const int line = y + t - radius_;
    const bool isOutside = line < 0 || line >= frame_.dims.y;
    rows[t] = (isOutside ? zeros_.row(0, 0) : slices.rowAt(0, line)) + wide.first;
  }
  kernels_.addRows(rows, kinds, wide.end - wide.first, stride_, sums.row(0, 0) + wide.first);
}

const float* CorrelationTile::countingRow(int y, int z, const IndexSpan& span) {
  const float* const present = inputRows(y, z) + InputRow::present * stride_;
  const bool allCount = frame_.counts == nullptr;
  if (allCount && span.first == 0 && span.end == frame_.dims.x) return present;
  float* const counting = counting_.row(0, 0);
  const IndexSpan whole = rounded(span);
  std::fill(counting + whole.first, counting + span.first, 0.0f);
  std::fill(counting + span.end, counting + whole.end, 0.0f);
  if (allCount)
    std::copy(present + span.first, present + span.end, counting + span.first);
  else
    frame_.kernels.markCounting(frame_.counts + rowIndex(y, z) * frame_.dims.x + span.first,
                                present + span.first, span.end - span.first, counting + span.first);
  return counting;
}

void CorrelationTile::clearFactors(int y, int z, const IndexSpan& unless) {
  const int row = taps_ * (y - rows_.first + radius_) + z % taps_;
  IndexSpan& written = written_[static_cast<std::size_t>(row)];
  if (written.first < unless.first || written.end > unless.end)
    for (int factor = 0; factor < WindowFactor::count; ++factor) {
      float* const values = ownFactorRows(y, z) + factor * stride_;
      std::fill(values + written.first, values + written.end, 0.0f);
    }
  written = unless;
}

void CorrelationTile::correlate(int z) {
  const int first = std::max(rows_.first - radius_, 0);
  const int end = std::min(rows_.end + radius_, frame_.dims.y);
  int next = first - radius_;
  for (int y = first; y < end; ++y) {
    if (isEmpty(at(frame_.spans.counting, y, z))) {
      clearFactors(y, z, {0, 0});
      continue;
    }
    for (next = std::max(next, y - radius_); next <= y + radius_; ++next) addInputSlices(next, z);
    correlateRow(y, z);
  }
}

void CorrelationTile::correlateRow(int y, int z) {
  const IndexSpan& span = at(frame_.spans.counting, y, z);
  const IndexSpan whole = rounded(span);
  clearFactors(y, z, whole);
  addLines(inputSlices_, WindowSum::count, y, span, windows_);
  const bool isOwn = y >= rows_.first && y < rows_.end;
  const std::size_t column =
      static_cast<std::size_t>(whole.first) + (isOwn ? 0 : squares_.size() / 2);
  kernels_.correlate(windows_.row(0, 0) + whole.first, countingRow(y, z, span) + whole.first,
                     whole.end - whole.first, stride_, frame_.rule,
                     ownFactorRows(y, z) + whole.first, &squares_[column], &counted_[column]);
}

void CorrelationTile::findForces(int z) {
  int next = rows_.first - radius_;
  for (int y = rows_.first; y < rows_.end; ++y) {
    const IndexSpan& span = at(frame_.spans.counting, y, z);
    for (float* const force : frame_.force) {
      float* const row = force + rowIndex(y, z) * frame_.dims.x;
      std::fill(row, row + span.first, 0.0f);
      std::fill(row + span.end, row + frame_.dims.x, 0.0f);
    }
    if (isEmpty(span)) continue;
    for (next = std::max(next, y - radius_); next <= y + radius_; ++next) addFactorSlices(next, z);
    findForcesOfRow(y, z);
  }
}

void CorrelationTile::findForcesOfRow(int y, int z) {
  const IndexSpan& span = at(frame_.spans.counting, y, z);
  addLines(factorSlices_, WindowFactor::count, y, span, factorsAround_);
  const ForceRows rows = {factorsAround_.row(0, 0) + span.first,
                          inputRows(y, z) + span.first,
                          countingRow(y, z, span) + span.first,
                          {{inputRows(y - 1, z) + span.first, inputRows(y + 1, z) + span.first},
                           {inputRows(y, z - 1) + span.first, inputRows(y, z + 1) + span.first}}};
  float* force[3];
  for (int axis = 0; axis < 3; ++axis)
    force[axis] = frame_.force[axis] + rowIndex(y, z) * frame_.dims.x + span.first;
  kernels_.findForces(rows, span.end - span.first, stride_, force);
}

}  // namespace voxreg::detail
