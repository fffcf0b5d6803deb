#include "report.h"

#include <cstdio>

namespace host {

void printResult(const AffineResult& result) {
  std::printf("%-24s %.6g\n", "metric", result.metric);
  std::printf("%-24s %.1f s%s\n", "time", result.seconds,
              result.interrupted ? " (interrupted)" : "");
}

void printTargetError(const std::string& name, const TargetError& error) {
  std::printf("%-24s %.3f mm mean, %.3f mm maximum\n", name.c_str(), error.mean, error.maximum);
}

}  // namespace host
