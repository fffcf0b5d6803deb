#include "terminal/LogOnStandardError.h"

#include <cstdio>

namespace host {

LogOnStandardError::LogOnStandardError() {
  before_ = getTheLogInstance().setSink([this](bool isError, const std::string& line) {
    (void)std::fprintf(stderr, "%s\n", line.c_str());
    if (before_) before_(isError, line);
  });
}

}  // namespace host
