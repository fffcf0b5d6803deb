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

RowRing::RowRing(int rowSize, int rowsPerSlot, int slots)
    : rowBlocks_(roundedUp(rowSize) / rowBlock + 2),
      rows_(rowsPerSlot),
      blocks_(static_cast<std::size_t>(rowBlocks_ * rowsPerSlot * slots)) {}

CorrelationTile::CorrelationTile(const CorrelationFrame& frame, const IndexSpan& rows)
    : frame_(frame),
      kernels_(frame.kernels.ofRadius[frame.radius - 1]),
      rows_(rows),
      radius_(frame.radius),
      taps_(2 * frame.radius + 1),
      inputs_(frame.dims.x, Input::count * (rows.end - rows.first + 4 * radius_), taps_ + 1),
      factors_(frame.dims.x, WindowFactor::count * (rows.end - rows.first + 2 * radius_), taps_),
      lines_(frame.dims.x, WindowSum::count, taps_),
      sums_(frame.dims.x, WindowSum::count, 1),
      counting_(frame.dims.x, 1, 1),
      zeros_(frame.dims.x, 1, 1),
      written_(static_cast<std::size_t>((rows.end - rows.first + 2 * radius_) * taps_),
               IndexSpan{0, 0}),
      squares_(static_cast<std::size_t>(2 * roundedUp(frame.dims.x))),
      counted_(squares_.size()) {}

CorrelationSum CorrelationTile::run() {
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

const IndexSpan& CorrelationTile::at(const std::vector<IndexSpan>& spans, int y, int z) const {
  return spans[static_cast<std::size_t>(std::int64_t{frame_.dims.y} * z + y)];
}

const float* CorrelationTile::inputRow(int input, int y, int z) {
  if (!isInside(y, z)) return zeros_.row(0, 0);
  return inputs_.row(Input::count * (y - rows_.first + 2 * radius_) + input, z % (taps_ + 1));
}

const float* CorrelationTile::factorRow(int factor, int y, int z) {
  if (!isInside(y, z)) return zeros_.row(0, 0);
  return factors_.row(WindowFactor::count * (y - rows_.first + radius_) + factor, z % taps_);
}

void CorrelationTile::load(int z) {
  const int first = std::max(rows_.first - 2 * radius_, 0);
  const int end = std::min(rows_.end + 2 * radius_, frame_.dims.y);
  for (int y = first; y < end; ++y) {
    const IndexSpan span = at(frame_.spans.around, y, z);
    if (isEmpty(span)) continue;
    const int row = Input::count * (y - rows_.first + 2 * radius_);
    const int slot = z % (taps_ + 1);
    const std::int64_t from = (std::int64_t{frame_.dims.y} * z + y) * frame_.dims.x + span.first;
    frame_.kernels.copyPresent(frame_.reference + from, frame_.warped + from, span.end - span.first,
                               inputs_.row(row + Input::reference, slot) + span.first,
                               inputs_.row(row + Input::warped, slot) + span.first,
                               inputs_.row(row + Input::present, slot) + span.first);
  }
}

void CorrelationTile::addInputSlices(int y, int z) {
  if (!isInside(y, z) || isEmpty(at(frame_.spans.beside, y, z))) return;
  const IndexSpan span = rounded(at(frame_.spans.beside, y, z));
  const float* rows[Input::count][maxTaps];
  for (int input = 0; input < Input::count; ++input)
    for (int t = 0; t < taps_; ++t)
      rows[input][t] = inputRow(input, y, z + t - radius_) + span.first;
  kernels_.addProducts(rows[Input::reference], rows[Input::warped], rows[Input::present],
                       span.end - span.first, lines_.row(0, y % taps_) + span.first,
                       lines_.stride());
}

void CorrelationTile::addFactorSlices(int y, int z) {
  if (!isInside(y, z) || isEmpty(at(frame_.spans.beside, y, z))) return;
  const IndexSpan span = rounded(at(frame_.spans.beside, y, z));
  for (int factor = 0; factor < WindowFactor::count; ++factor) {
    const float* rows[maxTaps];
    for (int t = 0; t < taps_; ++t) rows[t] = factorRow(factor, y, z + t - radius_) + span.first;
    kernels_.addRows(rows, span.end - span.first, lines_.row(factor, y % taps_) + span.first);
  }
}

void CorrelationTile::addLines(int sums, int y, const IndexSpan& span) {
  const IndexSpan wide =
      rounded({std::max(span.first - radius_, 0), std::min(span.end + radius_, frame_.dims.x)});
  for (int s = 0; s < sums; ++s) {
    const float* rows[maxTaps];
    for (int t = 0; t < taps_; ++t) {
      const int line = y + t - radius_;
      const bool isOutside = line < 0 || line >= frame_.dims.y;
      rows[t] = (isOutside ? zeros_.row(0, 0) : lines_.row(s, line % taps_)) + wide.first;
    }
    kernels_.addRows(rows, wide.end - wide.first, sums_.row(s, 0) + wide.first);
  }
}

const float* CorrelationTile::countingRow(int y, int z, const IndexSpan& span) {
  const float* const present = inputRow(Input::present, y, z);
  const bool allCount = frame_.counts == nullptr;
  if (allCount && span.first == 0 && span.end == frame_.dims.x) return present;
  float* const counting = counting_.row(0, 0);
  const IndexSpan whole = rounded(span);
  std::fill(counting + whole.first, counting + span.first, 0.0f);
  std::fill(counting + span.end, counting + whole.end, 0.0f);
  if (allCount) {
    std::copy(present + span.first, present + span.end, counting + span.first);
    return counting;
  }
  const unsigned char* const counts =
      frame_.counts + (std::int64_t{frame_.dims.y} * z + y) * frame_.dims.x;
  frame_.kernels.markCounting(counts + span.first, present + span.first, span.end - span.first,
                              counting + span.first);
  return counting;
}

void CorrelationTile::clearFactors(int y, int z, const IndexSpan& unless) {
  const int rowsPerSlice = rows_.end - rows_.first + 2 * radius_;
  IndexSpan& written =
      written_[static_cast<std::size_t>(rowsPerSlice * (z % taps_) + y - rows_.first + radius_)];
  if (written.first < unless.first || written.end > unless.end)
    for (int factor = 0; factor < WindowFactor::count; ++factor) {
      float* const row =
          factors_.row(WindowFactor::count * (y - rows_.first + radius_) + factor, z % taps_);
      std::fill(row + written.first, row + written.end, 0.0f);
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
  addLines(WindowSum::count, y, span);
  const float* sums[WindowSum::count];
  for (int s = 0; s < WindowSum::count; ++s) sums[s] = sums_.row(s, 0) + whole.first;
  float* factors[WindowFactor::count];
  for (int factor = 0; factor < WindowFactor::count; ++factor)
    factors[factor] =
        factors_.row(WindowFactor::count * (y - rows_.first + radius_) + factor, z % taps_) +
        whole.first;
  const bool isOwn = y >= rows_.first && y < rows_.end;
  const int column = whole.first + (isOwn ? 0 : static_cast<int>(squares_.size()) / 2);
  kernels_.correlate(sums, countingRow(y, z, span) + whole.first, whole.end - whole.first,
                     frame_.rule, factors, squares_.data() + column, counted_.data() + column);
}

void CorrelationTile::findForces(int z) {
  int next = rows_.first - radius_;
  for (int y = rows_.first; y < rows_.end; ++y) {
    const IndexSpan& span = at(frame_.spans.counting, y, z);
    const std::int64_t row = (std::int64_t{frame_.dims.y} * z + y) * frame_.dims.x;
    for (float* const force : frame_.force) {
      std::fill(force + row, force + row + span.first, 0.0f);
      std::fill(force + row + span.end, force + row + frame_.dims.x, 0.0f);
    }
    if (isEmpty(span)) continue;
    for (next = std::max(next, y - radius_); next <= y + radius_; ++next) addFactorSlices(next, z);
    findForcesOfRow(y, z);
  }
}

void CorrelationTile::findForcesOfRow(int y, int z) {
  const IndexSpan& span = at(frame_.spans.counting, y, z);
  addLines(WindowFactor::count, y, span);
  ForceRows rows = {};
  for (int factor = 0; factor < WindowFactor::count; ++factor)
    rows.factors[factor] = sums_.row(factor, 0) + span.first;
  rows.reference = inputRow(Input::reference, y, z) + span.first;
  rows.warped = inputRow(Input::warped, y, z) + span.first;
  rows.present = inputRow(Input::present, y, z) + span.first;
  rows.counting = countingRow(y, z, span) + span.first;
  for (int side = 0; side < 2; ++side) {
    const int step = 2 * side - 1;
    rows.warpedBeside[0][side] = inputRow(Input::warped, y + step, z) + span.first;
    rows.warpedBeside[1][side] = inputRow(Input::warped, y, z + step) + span.first;
    rows.presentBeside[0][side] = inputRow(Input::present, y + step, z) + span.first;
    rows.presentBeside[1][side] = inputRow(Input::present, y, z + step) + span.first;
  }
  float* force[3];
  for (int axis = 0; axis < 3; ++axis)
    force[axis] =
        frame_.force[axis] + (std::int64_t{frame_.dims.y} * z + y) * frame_.dims.x + span.first;
  kernels_.findForces(rows, span.end - span.first, force);
}

}  // namespace voxreg::detail
