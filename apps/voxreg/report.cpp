#include "report.h"

#include <cstdio>

namespace host {

void printReport(const RunReport& report) {
  if (report.start.contains("chosen"))
    std::printf("%-24s %s\n", "start", report.start["chosen"].get<std::string>().c_str());
  std::printf("%-24s %.1f %% of the reference\n", "overlap", 100.0 * report.result.overlap.share);
  if (report.transform == "bricks")
    std::printf("%-24s %.3f smallest\n", "Jacobian", report.result.smallestJacobian);
  printSearch(report.metricAfter(), report.seconds, report.interrupted);
}

void printSearch(const std::optional<double>& metric, double seconds, bool interrupted) {
  if (metric) std::printf("%-24s %.6g\n", "metric", *metric);
  std::printf("%-24s %.1f s%s\n", "time", seconds, interrupted ? " (interrupted)" : "");
}

void printElastic(const ElasticResult& result) {
  const NmVec3i& bricks = result.transform.numBricks;
  std::printf("%-24s %d x %d x %d\n", "bricks", bricks.x, bricks.y, bricks.z);
  std::printf("%-24s %s\n", "chest wall", result.chestWall.c_str());
}

void printPlaceError(const std::string& name, const PlaceError& error) {
  std::printf("%-24s %.3f mm mean, %.3f mm 95th percentile, %.3f mm maximum\n", name.c_str(),
              error.mean, error.percentile95, error.maximum);
}

}  // namespace host
