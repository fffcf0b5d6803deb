#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "foundation/NmLogFile.h"

/// Collects the log of this scope instead of letting it reach standard error.
class LogCapture {
 public:
  LogCapture() {
    previous_ = getTheLogInstance().setSink([this](bool isError, const std::string& line) {
      const std::lock_guard guard(mutex_);
      (isError ? errors : lines).push_back(line);
    });
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  ~LogCapture() { getTheLogInstance().setSink(std::move(previous_)); }

  /// The one error line since the last call; a text that tells the number when it is not one.
  std::string error() {
    const std::vector<std::string> found = std::exchange(errors, {});
    return found.size() == 1 ? found[0] : std::to_string(found.size()) + " error lines";
  }

  std::vector<std::string> lines;
  std::vector<std::string> errors;

 private:
  std::mutex mutex_;
  NmLogFile::Sink previous_;
};
