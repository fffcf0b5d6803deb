#include "workflow/ProgressPlan.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace voxreg {

namespace {

double sumOfWork(double sum, const ProgressPlan::Stage& stage) {
  return sum + stage.work;
}

}  // namespace

void ProgressPlan::enter(const std::string& caption) {
  for (std::size_t stage = present_; stage < stages_.size(); ++stage)
    if (stages_[stage].caption == caption) return enter(stage);
  caption_ = caption;
}

void ProgressPlan::enter(std::size_t stage) {
  present_ = stage;
  caption_ = stages_[stage].caption;
  report(0.0);
}

void ProgressPlan::divide(std::vector<Stage> parts) {
  const double sum = std::accumulate(parts.begin(), parts.end(), 0.0, sumOfWork);
  if (!(sum > 0.0)) return;
  for (Stage& part : parts) part.work *= stages_[present_].work / sum;
  const auto place = stages_.erase(stages_.begin() + static_cast<std::ptrdiff_t>(present_));
  stages_.insert(place, std::make_move_iterator(parts.begin()),
                 std::make_move_iterator(parts.end()));
  enter(present_);
}

void ProgressPlan::next() {
  if (present_ + 1 < stages_.size()) enter(present_ + 1);
}

void ProgressPlan::report(double part) {
  const double before = shareBefore(present_);
  const double after = shareBefore(present_ + 1);
  share_ = std::max(share_, before + std::clamp(part, 0.0, 1.0) * (after - before));
}

double ProgressPlan::shareBefore(std::size_t stage) const {
  const auto begin = stages_.begin();
  const double whole = std::accumulate(begin, stages_.end(), 0.0, sumOfWork);
  return std::accumulate(begin, begin + static_cast<std::ptrdiff_t>(stage), 0.0, sumOfWork) / whole;
}

}  // namespace voxreg
