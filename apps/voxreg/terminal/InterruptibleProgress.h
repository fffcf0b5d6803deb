#pragma once

#include <voxreg.h>

#include <optional>
#include <string>
#include <vector>

#include "terminal/ProgressLine.h"
#include "terminal/endingSignals.h"

namespace host {

/// The progress of a whole command on standard error, and the user's request to stop it.
class InterruptibleProgress : public NmProgressInterface {
 public:
  /// One stage.
  InterruptibleProgress() : InterruptibleProgress({{"Working", 1.0}}) {}

  /// Starts at the first of these stages. A quiet one writes nothing.
  explicit InterruptibleProgress(std::vector<voxreg::ProgressPlan::Stage> stages,
                                 bool quiet = false);

  /// Starts the next stage with this caption.
  void enter(const std::string& caption);

  /// Starts the next stage with this caption, a registration, which reports its progress here and
  /// may be stopped. The object must outlive the callback.
  voxreg::ProgressCallback ofRegistration(const std::string& caption);

  /// From now on the first Ctrl-C (or another signal that would end the program) asks the running
  /// work to stop, and a second one ends the program.
  void takeStopRequests() {
    if (!stopRequest_) stopRequest_.emplace();
  }

  /// The command is done.
  void finish();

  /// Clears the terminal's line for other output.
  void wipe() const { line_.wipe(); }

  void startWorking(int steps, const std::string& text) override;
  void stopWorking() override;
  void setProgressValue(int value) override;
  bool wasInterrupted() override;

 private:
  void show() { line_.show(plan_.share(), plan_.caption()); }

  std::optional<StopRequest> stopRequest_;
  voxreg::ProgressPlan plan_;
  ProgressLine line_;
  int steps_ = 100;
};

}  // namespace host
