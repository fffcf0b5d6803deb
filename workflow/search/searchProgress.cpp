#include "workflow/search/searchProgress.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace voxreg::detail {

SearchProgress::SearchProgress(std::vector<ProgressPlan::Stage> stages,
                               const ProgressCallback& callback)
    : callback_(callback), plan_(std::move(stages)), present_{0.0, plan_.caption(), {}} {}

void SearchProgress::show() {
  present_.share = plan_.share();
  present_.stage = plan_.caption();
  (void)wasInterrupted();
}

void SearchProgress::enter(const std::string& caption) {
  plan_.enter(caption);
  show();
}

void SearchProgress::enter(const std::string& caption, std::vector<ProgressPlan::Stage> parts) {
  plan_.enter(caption);
  plan_.divide(std::move(parts));
  show();
}

void SearchProgress::nextStage() {
  plan_.next();
  show();
}

void SearchProgress::expectRuns(int runs, int searches) {
  runs_ = runs;
  searches_ = searches;
  isFirst_ = true;
}

void SearchProgress::startWorking(int steps, const std::string& /*text*/) {
  steps_ = std::max(steps, 1);
  search_ = 0;
}

/// A run may have made fewer searches than planned.
void SearchProgress::stopWorking() {
  while (search_ < searches_) beginSearch();
  plan_.report(1.0);
  show();
  if (--runs_ <= 0) expectRuns(1, 1);
}

void SearchProgress::beginSearch() {
  if (search_ == searches_) return;
  ++search_;
  if (!isFirst_) plan_.next();
  isFirst_ = false;
}

void SearchProgress::setProgressValue(int value) {
  plan_.report(partOfSearch(std::clamp(static_cast<double>(value) / steps_, 0.0, 1.0)));
  show();
}

/// Searches report their share of the run, but the aggressive one omits the searches before it.
/// Searches slow down towards their end, hence the square (empirical).
double SearchProgress::partOfSearch(double partOfRun) const {
  constexpr double rounding = 0.01;
  if (search_ == 0) return partOfRun;
  const double before = search_ - 1;
  const bool isOfRun = partOfRun + rounding >= before / searches_;
  const double part = partOfRun * searches_ - (isOfRun ? before : 0.0);
  return part * std::abs(part);
}

/// The library's caption of a search.
void SearchProgress::progressInfoChanged(const std::string& text) {
  if (!text.starts_with("Registering at")) return;
  beginSearch();
  show();
}

bool SearchProgress::wasInterrupted() {
  isStopped_ = isStopped_ || (callback_ && !callback_(present_));
  return isStopped_;
}

}  // namespace voxreg::detail
