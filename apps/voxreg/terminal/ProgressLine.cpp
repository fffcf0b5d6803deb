#include "terminal/ProgressLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>

namespace host {

namespace {

std::size_t terminalWidth() {
  winsize size = {};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : 80;
}

std::string percentOf(double share) {
  char buffer[16];
  (void)std::snprintf(buffer, sizeof buffer, "%3.0f %%", std::floor(100.0 * share));
  return buffer;
}

double secondsBetween(std::chrono::steady_clock::time_point from,
                      std::chrono::steady_clock::time_point to) {
  return std::chrono::duration<double>(to - from).count();
}

}  // namespace

ProgressLine::ProgressLine(bool quiet)
    : isQuiet_(quiet), onTerminal_(!quiet && isatty(STDERR_FILENO) != 0) {}

void ProgressLine::show(double share, const std::string& caption) {
  if (isQuiet_ || !isDue(share, caption)) return;
  lastTime_ = Clock::now();
  lastShare_ = share;
  lastCaption_ = caption;
  std::string line = percentOf(share) + "  " + caption;
  const std::string left = timeLeft(secondsBetween(begin_, lastTime_), share);
  if (!left.empty()) line += ", " + left;
  if (onTerminal_)
    (void)std::fprintf(stderr, "\r\033[K%s", line.substr(0, terminalWidth() - 1).c_str());
  else
    (void)std::fprintf(stderr, "%s\n", line.c_str());
  (void)std::fflush(stderr);
}

bool ProgressLine::isDue(double share, const std::string& caption) const {
  constexpr double secondsOnTerminal = 0.1;
  constexpr double secondsOfPlainLines = 30.0;
  constexpr double shareOfPlainLines = 0.1;
  const double seconds = secondsBetween(lastTime_, Clock::now());
  const bool isNewStage = caption != lastCaption_;
  if (onTerminal_) return isNewStage || seconds > secondsOnTerminal;
  // Until something is done, an error must be the only line.
  return (isNewStage && share > 0.0) || share >= lastShare_ + shareOfPlainLines ||
         seconds > secondsOfPlainLines;
}

void ProgressLine::wipe() const {
  if (onTerminal_) (void)std::fputs("\r\033[K", stderr);
}

std::string timeLeft(double seconds, double share) {
  constexpr double enoughSeconds = 2.0;
  constexpr double enoughShare = 0.03;
  constexpr double minute = 60.0;
  constexpr double hour = 3600.0;
  if (seconds < enoughSeconds || share < enoughShare || share >= 1.0) return "";
  const double left = seconds * (1.0 - share) / share;
  const auto about = [](double count, const char* unit) {
    return "about " + std::to_string(std::lround(count)) + " " + unit + " left";
  };
  if (left <= minute) return about(5.0 * std::ceil(left / 5.0), "s");
  return left <= hour ? about(left / minute, "min") : about(left / hour, "h");
}

}  // namespace host
