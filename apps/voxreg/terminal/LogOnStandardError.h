#pragma once

#include <voxreg.h>

namespace host {

/// During its lifetime, the lines of the library's log also go to standard error.
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
