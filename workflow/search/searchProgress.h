#pragma once

#include <string>
#include <vector>

#include "foundation/NmProgressInterface.h"
#include "workflow/Progress.h"
#include "workflow/ProgressPlan.h"

namespace voxreg::detail {

/// The progress of a registration from start to end, for the host's callback, and the host's
/// request to stop it. The library's classes report the progress of their runs here; stages and
/// captions are the registration's.
class SearchProgress : public NmProgressInterface {
 public:
  /// Starts at the first of these stages. An empty callback is never called.
  SearchProgress(std::vector<ProgressPlan::Stage> stages, const ProgressCallback& callback);

  /// Starts the next stage with this caption.
  void enter(const std::string& caption);

  /// The same for a stage that consists of these parts; starts the first.
  void enter(const std::string& caption, std::vector<ProgressPlan::Stage> parts);

  void nextStage();

  /// The next `runs` runs of the library make `searches` searches each. Every search is a stage,
  /// and the current stage is the first.
  void expectRuns(int runs, int searches);

  /// Sets the result of a run.
  void tellMetric(double value) { present_.metric = value; }

  void startWorking(int steps, const std::string& text) override;
  void stopWorking() override;
  void setProgressValue(int value) override;
  void progressInfoChanged(const std::string& text) override;
  bool wasInterrupted() override;

 private:
  void beginSearch();
  double partOfSearch(double partOfRun) const;
  void show();

  const ProgressCallback& callback_;
  ProgressPlan plan_;
  Progress present_;
  bool isStopped_ = false;
  int steps_ = 100;
  int runs_ = 1;         ///< remaining, including the current one
  int searches_ = 1;     ///< in each of them
  int search_ = 0;       ///< current one of the run, starting at 1
  bool isFirst_ = true;  ///< among the stages that the runs fill
};

}  // namespace voxreg::detail
