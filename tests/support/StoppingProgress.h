#pragma once

#include <string>

#include "foundation/NmProgressInterface.h"

/// Asks to stop from poll number `limit` on, counted from 0.
class StoppingProgress : public NmProgressInterface {
 public:
  long polls = 0;
  long limit = 1L << 40;

  void startWorking(int, const std::string&) override {}
  void stopWorking() override {}
  void setProgressValue(int) override {}
  bool wasInterrupted() override { return ++polls > limit; }
};
