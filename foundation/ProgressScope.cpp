#include "foundation/ProgressScope.h"

ProgressScope::~ProgressScope() {
  if (progress_ == nullptr) return;
  try {
    progress_->stopWorking();
  } catch (...) {  // NOLINT(bugprone-empty-catch): a destructor has nobody to tell
  }
}
