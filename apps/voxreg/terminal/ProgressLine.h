#pragma once

#include <chrono>
#include <string>

namespace host {

/// Shows on standard error the progress of a command and the approximate time left: in one line
/// that is overwritten on a terminal, otherwise in occasional plain lines.
class ProgressLine {
 public:
  /// A quiet one writes nothing.
  explicit ProgressLine(bool quiet);
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;
  ~ProgressLine() { wipe(); }

  /// `share` of the work is done, from 0 to 1; the caption names the next step.
  void show(double share, const std::string& caption);

  /// Clears the terminal's line for other output.
  void wipe() const;

 private:
  using Clock = std::chrono::steady_clock;

  bool isDue(double share, const std::string& caption) const;

  bool isQuiet_;
  bool onTerminal_;
  Clock::time_point begin_ = Clock::now();
  Clock::time_point lastTime_ = begin_;
  double lastShare_ = 0.0;
  std::string lastCaption_;
};

/// "about 2 min left" for a command that took `seconds` for a share of its work; empty while the
/// share is too small to estimate this.
std::string timeLeft(double seconds, double share);

}  // namespace host
