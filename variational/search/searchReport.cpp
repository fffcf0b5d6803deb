#include "variational/search/searchReport.h"

#include <algorithm>
#include <string>
#include <utility>

#include "foundation/NmLogFile.h"
#include "foundation/NmProgressInterface.h"
#include "foundation/ProgressScope.h"

namespace voxreg::detail {

SearchReport::SearchReport(NmProgressInterface* progress, int level, int levels, int mostIterations)
    : progress_(progress), level_(level + 1), mostIterations_(std::max(mostIterations, 1)) {
  if (progress_ == nullptr) return;
  const std::string caption =
      "Registering at level " + std::to_string(level_) + " of " + std::to_string(levels);
  progress_->startWorking(mostIterations_, caption);
  progress_->setProgressInfo(caption.c_str());
}

SearchReport::~SearchReport() {
  const ProgressScope closing(progress_);
}

void SearchReport::close() {
  getTheLogInstance().printf("level %d: value %.6f", level_, value_);
  NmProgressInterface* const progress = std::exchange(progress_, nullptr);
  if (progress != nullptr) progress->stopWorking();
}

bool SearchReport::operator()(int iteration, double value) {
  value_ = value;
  if (progress_ == nullptr) return true;
  furthest_ = std::max(furthest_, iteration);
  progress_->setProgressValue(furthest_);
  return !wantsToStop(progress_);
}

bool wantsToStop(NmProgressInterface* progress) {
  return progress != nullptr && progress->wasInterrupted();
}

}  // namespace voxreg::detail
