#pragma once

#include <chrono>
#include <string>

namespace host {

/// Shows on standard error how far a command has come and about how long it will still take: in one
/// line that is painted over where that is a terminal, in plain lines now and then otherwise.
class ProgressLine {
 public:
  /// A quiet one writes nothing.
  explicit ProgressLine(bool quiet);
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;
  ~ProgressLine() { wipe(); }

  /// `share` of the work is done, from 0 to 1; the caption says what comes next.
  void show(double share, const std::string& caption);

  /// Clears the terminal's line for what follows.
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

/// "about 2 min left" for a command that took `seconds` for a share of its work; empty as long as
/// that tells too little.
std::string timeLeft(double seconds, double share);

}  // namespace host
