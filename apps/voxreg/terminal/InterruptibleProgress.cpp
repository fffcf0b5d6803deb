#include "terminal/InterruptibleProgress.h"

#include <algorithm>
#include <utility>

namespace host {

InterruptibleProgress::InterruptibleProgress(std::vector<voxreg::ProgressPlan::Stage> stages,
                                             bool quiet)
    : plan_(std::move(stages)), line_(quiet) {
  show();
}

void InterruptibleProgress::enter(const std::string& caption) {
  plan_.enter(caption);
  show();
}

voxreg::ProgressCallback InterruptibleProgress::ofRegistration(const std::string& caption) {
  plan_.enter(caption);
  takeStopRequests();
  return [this](const voxreg::Progress& told) {
    plan_.report(told.share);
    line_.show(plan_.share(), told.stage);
    return !wasInterrupted();
  };
}

void InterruptibleProgress::finish() {
  plan_.enter("Done");
  plan_.finish();
  show();
  line_.wipe();
}

void InterruptibleProgress::startWorking(int steps, const std::string& /*text*/) {
  steps_ = std::max(steps, 1);
}

void InterruptibleProgress::stopWorking() {
  plan_.report(1.0);
  show();
}

void InterruptibleProgress::setProgressValue(int value) {
  plan_.report(static_cast<double>(value) / steps_);
  show();
}

bool InterruptibleProgress::wasInterrupted() {
  return stopRequest_.has_value() && StopRequest::wasMade();
}

}  // namespace host
