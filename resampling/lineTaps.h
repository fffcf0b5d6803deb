#pragma once

#include <cstdint>

#include "foundation/NmDArray.h"
#include "foundation/NmVec.h"
#include "resampling/RegResamplerContribList.h"
#include "resampling/contribLists.h"

namespace voxreg::detail {

/// The terms of each output position of a line. All taps are in one array, those of an output
/// position in the order in which they are added.
class LineTaps {
 public:
  explicit LineTaps(const ContribLists& lists);

  /// Sums of `cell` neighbours, times `scale`.
  LineTaps(std::int64_t numOut, int cell, float scale);

  std::int64_t numOut() const { return ends_.size; }
  std::int64_t count(std::int64_t i) const { return ends_[i] - begin(i); }
  const RegResamplerContrib* at(std::int64_t i) const { return taps_.data + begin(i); }

  /// Factor that multiplies the finished sums.
  float factor() const { return factor_; }

 private:
  std::int64_t begin(std::int64_t i) const { return i == 0 ? 0 : ends_[i - 1]; }

  NmDArray<RegResamplerContrib> taps_;
  NmDArray<std::int64_t> ends_;
  float factor_ = 1.0f;
};

/// Output lines from input lines of `width` floats, which are contiguous: out[i] = factor * sum
/// over the taps of i of weight * lines[pixel], in single precision and in the order of the taps.
void combineLines(const float* lines, std::int64_t width, const LineTaps& taps, float* out);

}  // namespace voxreg::detail
