#include "report.h"

#include <cstdio>

namespace host {

void printSearch(double metric, double seconds, bool interrupted) {
  std::printf("%-24s %.6g\n", "metric", metric);
  std::printf("%-24s %.1f s%s\n", "time", seconds, interrupted ? " (interrupted)" : "");
}

void printJacobian(double smallest) {
  std::printf("%-24s %.3f smallest\n", "Jacobian", smallest);
}

void printTargetError(const std::string& name, const TargetError& error) {
  std::printf("%-24s %.3f mm mean, %.3f mm maximum\n", name.c_str(), error.mean, error.maximum);
}

void printDisplacementError(const DisplacementError& error) {
  std::printf("%-24s %.3f mm mean, %.3f mm 95th percentile, %.3f mm maximum\n",
              "displacement error", error.mean, error.percentile95, error.maximum);
}

}  // namespace host
