#pragma once

#include <voxreg.h>

namespace host {

/// While an object lives, the lines of the library's log go to standard error as well.
class LogOnStandardError {
 public:
  LogOnStandardError();
  LogOnStandardError(const LogOnStandardError&) = delete;
  LogOnStandardError& operator=(const LogOnStandardError&) = delete;
  ~LogOnStandardError() { getTheLogInstance().setSink(before_); }

 private:
  NmLogFile::Sink before_;
};

}  // namespace host
