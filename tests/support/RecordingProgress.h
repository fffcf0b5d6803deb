#pragma once

#include <functional>
#include <string>
#include <vector>

#include "foundation/NmProgressInterface.h"

/// Records what it is told, and acts on a call of the test's choice.
class RecordingProgress : public NmProgressInterface {
 public:
  std::vector<std::string> calls;
  std::function<void()> onCall;
  bool interrupted = false;

  void startWorking(int steps, const std::string& text) override {
    record("start " + std::to_string(steps) + " " + text);
  }
  void stopWorking() override { record("stop"); }
  void setProgressValue(int value) override { record("value " + std::to_string(value)); }
  void progressInfoChanged(const std::string& text) override { record(text); }
  bool wasInterrupted() override {
    record("poll");
    return interrupted;
  }

 private:
  void record(const std::string& call) {
    calls.push_back(call);
    if (onCall) onCall();
  }
};
