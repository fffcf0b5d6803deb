#pragma once

#include "foundation/NmProgressInterface.h"

/// Closes a progress task when it goes out of scope; the caller opens it. A null progress is
/// allowed.
class ProgressScope {
 public:
  explicit ProgressScope(NmProgressInterface* progress) : progress_(progress) {}
  ProgressScope(const ProgressScope&) = delete;
  ProgressScope& operator=(const ProgressScope&) = delete;
  ~ProgressScope();

 private:
  NmProgressInterface* progress_;
};
