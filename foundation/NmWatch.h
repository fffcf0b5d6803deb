#pragma once

#include <chrono>

/// Stopwatch on the steady clock.
class NmWatch {
 public:
  /// `running` starts it at once; otherwise it reads 0 until start().
  explicit NmWatch(bool running);

  void start();

  /// Seconds since the last start.
  float getTime() const;

 private:
  bool running_ = false;
  std::chrono::steady_clock::time_point begin_;
};
