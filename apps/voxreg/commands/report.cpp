#include "commands/report.h"

#include <cstdio>

namespace host {

void printReport(const RunReport& report) {
  if (report.start.contains("chosen"))
    std::printf("%-24s %s\n", "start", report.start["chosen"].get<std::string>().c_str());
  std::printf("%-24s %.1f %% of the reference\n", "overlap", 100.0 * report.found.overlap);
  const std::string& kind = report.transform;
  if (kind == "bricks" || kind == "lattice" || kind == "field")
    std::printf("%-24s %.3f smallest\n", "Jacobian", report.found.smallestJacobian);
  printSearch(report.found.metricAfter, report.found.seconds, report.found.interrupted);
}

void printSearch(const std::optional<double>& metric, double seconds, bool interrupted) {
  if (metric) std::printf("%-24s %.6g\n", "metric", *metric);
  std::printf("%-24s %.1f s%s\n", "time", seconds, interrupted ? " (interrupted)" : "");
}

void printElastic(const voxreg::ElasticRegistration& found) {
  if (const voxreg::BrickGrid* const grid = found.transform.bricks()) {
    const NmVec3i& bricks = grid->grid.numBricks;
    std::printf("%-24s %d x %d x %d\n", "bricks", bricks.x, bricks.y, bricks.z);
  }
  if (const voxreg::LatticeMap* const map = found.transform.lattice()) {
    const NmVec3i& intervals = map->lattice.intervals;
    std::printf("%-24s %d x %d x %d intervals\n", "lattice", intervals.x, intervals.y, intervals.z);
  }
  std::printf("%-24s %s\n", "chest wall", found.chestWall.c_str());
}

void printPlaceError(const std::string& name, const PlaceError& error) {
  std::printf("%-24s %.3f mm mean, %.3f mm 95th percentile, %.3f mm maximum\n", name.c_str(),
              error.mean, error.percentile95, error.maximum);
}

}  // namespace host
