#pragma once

#include <string>

#include "foundation/NmProgressInterface.h"

namespace voxreg::detail {

/// Allows a search to be stopped, and reports nothing.
class StopOnly : public NmProgressInterface {
 public:
  explicit StopOnly(NmProgressInterface& asked) : asked_(asked) {}

  void startWorking(int, const std::string&) override {}
  void stopWorking() override {}
  void setProgressValue(int) override {}
  bool wasInterrupted() override { return asked_.wasInterrupted(); }

 private:
  NmProgressInterface& asked_;
};

}  // namespace voxreg::detail
