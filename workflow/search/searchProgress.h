#pragma once

#include <string>
#include <vector>

#include "foundation/NmProgressInterface.h"
#include "workflow/Progress.h"
#include "workflow/ProgressPlan.h"

namespace voxreg::detail {

/// The progress of a registration from its start to its end, for the host's callback, and the
/// host's wish to stop it. The library's classes tell here how far their runs have come; stages and
/// captions are the registration's.
class SearchProgress : public NmProgressInterface {
 public:
  /// At the beginning of the first of these stages. An empty callback is told nothing.
  SearchProgress(std::vector<ProgressPlan::Stage> stages, const ProgressCallback& callback);

  /// The next stage of this caption begins.
  void enter(const std::string& caption);

  /// The same for a stage that consists of these; the first of them begins.
  void enter(const std::string& caption, std::vector<ProgressPlan::Stage> parts);

  void nextStage();

  /// The next runs of the library, so many of them, make so many searches each. Every search is a
  /// stage, and the present one is the first.
  void expectRuns(int runs, int searches);

  /// What a run has come to.
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
  int runs_ = 1;         ///< still to come, with the present one
  int searches_ = 1;     ///< of each of them
  int search_ = 0;       ///< of the present run, from 1 on
  bool isFirst_ = true;  ///< of the stages that the runs fill
};

}  // namespace voxreg::detail
