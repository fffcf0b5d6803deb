#pragma once

#include <stdexcept>

namespace host {

/// Ends a command with one line on standard error and the program's exit code.
class HostError : public std::runtime_error {
 public:
  static constexpr int badInput = 2;
  static constexpr int nothingFound = 3;
  static constexpr int failedRun = 1;

  explicit HostError(const std::string& line, int code = badInput)
      : std::runtime_error(line), exitCode(code) {}

  const int exitCode;
};

}  // namespace host
