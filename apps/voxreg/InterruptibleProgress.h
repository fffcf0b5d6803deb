#pragma once

#include <voxreg.h>

#include <string>

#include "endingSignals.h"

namespace host {

/// Progress on standard error: one line that is painted over where that is a terminal, plain lines
/// otherwise. While an object lives, the first Ctrl-C (or another signal that would end the
/// program) asks the running work to stop, and a second one ends the program.
class InterruptibleProgress : public NmProgressInterface {
 public:
  /// A quiet one writes nothing.
  explicit InterruptibleProgress(bool quiet = false);
  InterruptibleProgress(const InterruptibleProgress&) = delete;
  InterruptibleProgress& operator=(const InterruptibleProgress&) = delete;
  ~InterruptibleProgress() override;

  void startWorking(int steps, const std::string& text) override;
  void stopWorking() override;
  void setProgressValue(int value) override;
  void progressInfoChanged(const std::string& text) override;
  bool wasInterrupted() override;

  /// The task that follows is the part of this number, counted from 0, of `parts` equal ones.
  void beginPart(std::size_t part, std::size_t parts);

  void endPart();

  /// Shows a value of the metric beside the progress as long as it lives.
  class Metric {
   public:
    Metric(InterruptibleProgress& progress, const double& value) : progress_(progress) {
      progress_.metric_ = &value;
    }
    Metric(const Metric&) = delete;
    Metric& operator=(const Metric&) = delete;
    ~Metric() { progress_.metric_ = nullptr; }

   private:
    InterruptibleProgress& progress_;
  };

  /// Clears the terminal's line for what follows.
  void wipe() const;

 private:
  void paint();
  void writePlainLine();
  std::string line() const;

  const StopRequest stopRequest_;
  bool quiet_;
  bool onTerminal_;
  double partFirst_ = 0.0;
  double partLast_ = 1.0;
  double share_ = 0.0;
  double plainShare_ = 0.0;  ///< share at the last plain line
  int steps_ = 100;
  const double* metric_ = nullptr;
};

}  // namespace host
