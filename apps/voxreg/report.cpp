#include "report.h"

#include <cstdio>

namespace host {

namespace {

void printTime(double seconds, bool interrupted) {
  std::printf("%-24s %.1f s%s\n", "time", seconds, interrupted ? " (interrupted)" : "");
}

}  // namespace

void printSearch(double metric, double seconds, bool interrupted) {
  std::printf("%-24s %.6g\n", "metric", metric);
  printTime(seconds, interrupted);
}

void printElastic(const ElasticResult& result) {
  const NmVec3i& bricks = result.transform.numBricks;
  std::printf("%-24s %d x %d x %d\n", "bricks", bricks.x, bricks.y, bricks.z);
  std::printf("%-24s %s\n", "chest wall", result.chestWall.c_str());
  printTime(result.seconds, result.interrupted);
}

void printJacobian(double smallest) {
  std::printf("%-24s %.3f smallest\n", "Jacobian", smallest);
}

void printTargetError(const std::string& name, const TargetError& error) {
  std::printf("%-24s %.3f mm mean, %.3f mm maximum\n", name.c_str(), error.mean, error.maximum);
}

void printDisplacementError(const std::string& name, const DisplacementError& error) {
  std::printf("%-24s %.3f mm mean, %.3f mm 95th percentile, %.3f mm maximum\n", name.c_str(),
              error.mean, error.percentile95, error.maximum);
}

}  // namespace host
