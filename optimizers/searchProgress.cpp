#include "optimizers/searchProgress.h"

#include <algorithm>
#include <cstdint>

#include "foundation/NmProgressInterface.h"
#include "foundation/numbers/elementary.h"
#include "functional/RegFunctional.h"
#include "functional/RegOptimizerCallback.h"
#include "metrics/RegMetric.h"
#include "optimizers/RegOptimizer.h"

namespace voxreg::detail {

SearchProgress::SearchProgress(const RegOptimizer& search)
    : search_(search),
      progress_(search.callback == nullptr ? nullptr : search.callback->getProgressInterface()) {
  if (search.numStages < 2) return;
  share_ = 1.0f / static_cast<float>(search.numStages);
  const auto stagesBefore = static_cast<float>(static_cast<std::int64_t>(search.stageNumber) - 1);
  offset_ = std::max(0.0f, stagesBefore * share_);
}

bool SearchProgress::askInterrupted() {
  if (!interrupted_) interrupted_ = progress_ != nullptr && progress_->wasInterrupted();
  return interrupted_;
}

bool SearchProgress::askInterruptedMeanwhile() {
  constexpr std::int64_t slowWalk = 1000000;
  const RegMetric* const metric = search_.functional->metric;
  if (metric == nullptr || metric->numTotalSamples <= slowWalk) return interrupted_;
  return askInterrupted();
}

void SearchProgress::reportPart(float part) const {
  report((part * share_ + offset_) * 100.0f + 0.5f);
}

void SearchProgress::reportPercent(int percent) const {
  report(static_cast<float>(percent) * share_ + offset_ + 0.5f);
}

void SearchProgress::report(float value) const {
  constexpr float largestInt = 2147483520.0f;  // the largest float that is an int
  if (progress_ == nullptr) return;
  progress_->setProgressValue(value > 0.0f ? static_cast<int>(std::min(value, largestInt)) : 0);
}

float partToConvergence(double scale, double distance) {
  const auto logarithms = static_cast<float>(logarithm(scale) - logarithm(distance));
  const float part = logarithms / 10.0f + 1.0f;
  return part > 0.0f ? std::min(part, 1.0f) : 0.0f;
}

}  // namespace voxreg::detail
