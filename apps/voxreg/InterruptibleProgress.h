#pragma once

#include <voxreg.h>

#include <optional>
#include <string>
#include <vector>

#include "ProgressLine.h"
#include "ProgressPlan.h"
#include "endingSignals.h"

namespace host {

/// The progress of a whole command on standard error, and the user's wish to stop it. The library
/// tells here how far its runs have come; the stages and their captions are the host's.
class InterruptibleProgress : public NmProgressInterface {
 public:
  /// One stage.
  InterruptibleProgress() : InterruptibleProgress({{"Working", 1.0}}) {}

  /// At the beginning of the first of these stages. A quiet one writes nothing.
  explicit InterruptibleProgress(std::vector<ProgressPlan::Stage> stages, bool quiet = false);

  /// The next stage of this caption begins.
  void enter(const std::string& caption);

  /// The same for a stage that consists of these; the first of them begins.
  void enter(const std::string& caption, std::vector<ProgressPlan::Stage> parts);

  void nextStage();

  /// The next runs of the library, so many of them, make so many searches each. Every search is a
  /// stage, and the present one is the first.
  void expectRuns(int runs, int searches);

  /// From now on the first Ctrl-C (or another signal that would end the program) asks the running
  /// work to stop, and a second one ends the program.
  void takeStopRequests() {
    if (!stopRequest_) stopRequest_.emplace();
  }

  /// Everything is done.
  void finish();

  /// Clears the terminal's line for what follows.
  void wipe() const { line_.wipe(); }

  void startWorking(int steps, const std::string& text) override;
  void stopWorking() override;
  void setProgressValue(int value) override;
  void progressInfoChanged(const std::string& text) override;
  bool wasInterrupted() override;

 private:
  void beginSearch();
  double partOfSearch(double partOfRun) const;
  void show() { line_.show(plan_.share(), plan_.caption()); }

  std::optional<StopRequest> stopRequest_;
  ProgressPlan plan_;
  ProgressLine line_;
  int steps_ = 100;
  int runs_ = 1;         ///< still to come, with the present one
  int searches_ = 1;     ///< of each of them
  int search_ = 0;       ///< of the present run, from 1 on
  bool isFirst_ = true;  ///< of the stages that the runs fill
};

}  // namespace host
