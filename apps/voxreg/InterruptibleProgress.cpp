#include "InterruptibleProgress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace host {

namespace {

std::size_t terminalWidth() {
  winsize size = {};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : 80;
}

std::string formatted(const char* format, double value) {
  char buffer[64];
  (void)std::snprintf(buffer, sizeof buffer, format, value);
  return buffer;
}

}  // namespace

InterruptibleProgress::InterruptibleProgress(bool quiet)
    : quiet_(quiet), onTerminal_(!quiet && isatty(STDERR_FILENO) != 0) {}

InterruptibleProgress::~InterruptibleProgress() {
  wipe();
}

void InterruptibleProgress::startWorking(int steps, const std::string& text) {
  steps_ = std::max(steps, 1);
  share_ = plainShare_ = partFirst_;
  setProgressInfo(text.c_str());
}

void InterruptibleProgress::stopWorking() {}

void InterruptibleProgress::setProgressValue(int value) {
  const double done = std::clamp(static_cast<double>(value) / steps_, 0.0, 1.0);
  share_ = partFirst_ + done * (partLast_ - partFirst_);
  if (onTerminal_) {
    paint();
  } else if (share_ >= plainShare_ + 0.1) {
    writePlainLine();
  }
}

void InterruptibleProgress::progressInfoChanged(const std::string& /*text*/) {
  if (onTerminal_) paint();
}

bool InterruptibleProgress::wasInterrupted() {
  return StopRequest::wasMade();
}

void InterruptibleProgress::beginPart(std::size_t part, std::size_t parts) {
  partFirst_ = static_cast<double>(part) / static_cast<double>(parts);
  partLast_ = static_cast<double>(part + 1) / static_cast<double>(parts);
  share_ = partFirst_;
}

void InterruptibleProgress::endPart() {
  share_ = partLast_;
  if (onTerminal_) {
    paint();
  } else {
    writePlainLine();
  }
}

void InterruptibleProgress::wipe() const {
  if (onTerminal_) (void)std::fputs("\r\033[K", stderr);
}

void InterruptibleProgress::paint() {
  (void)std::fprintf(stderr, "\r\033[K%s", line().substr(0, terminalWidth() - 1).c_str());
  (void)std::fflush(stderr);
}

void InterruptibleProgress::writePlainLine() {
  plainShare_ = share_;
  if (!quiet_) (void)std::fprintf(stderr, "%s\n", line().c_str());
}

std::string InterruptibleProgress::line() const {
  std::string result = formatted("%3.0f %%", 100.0 * share_);
  const bool isKnown = metric_ != nullptr && *metric_ != 0.0;  // 0 until the first search is over
  if (isKnown) result += formatted("  metric %.6g", *metric_);
  return result + "  " + progressInfo();
}

}  // namespace host
