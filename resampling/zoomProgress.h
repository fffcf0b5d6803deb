#pragma once

#include <algorithm>
#include <cstdint>

#include "foundation/NmProgressInterface.h"
#include "resampling/zoomShape.h"

namespace voxreg::detail {

/// Reports the outer iterations of consecutive passes as one count. Each pass but the first starts
/// by repeating the last value of the previous pass.
class ZoomProgress {
 public:
  /// `progress` may be null.
  explicit ZoomProgress(NmProgressInterface* progress) : progress_(progress) {}

  void startPass() { base_ = last_; }

  /// Reports the iteration `index` of the current pass and returns whether to skip it.
  bool isInterrupted(std::int64_t index) {
    if (progress_ == nullptr) return false;
    last_ = base_ + index;
    progress_->setProgressValue(static_cast<int>(std::min(last_, largestDimension)));
    return progress_->wasInterrupted();
  }

 private:
  NmProgressInterface* progress_;
  std::int64_t base_ = 1;
  std::int64_t last_ = 1;
};

}  // namespace voxreg::detail
