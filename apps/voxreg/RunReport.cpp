#include "RunReport.h"

#include <voxreg.h>

#include <fstream>

namespace host {

namespace {

using nlohmann::json;

json numberOrNull(const std::optional<double>& value) {
  return value ? json(*value) : json();
}

}  // namespace

std::optional<double> RunReport::metricAfter() const {
  const bool endedAtOnce = interrupted && counts && counts->evaluations == 0;
  return endedAtOnce ? std::nullopt : result.metricAfter;
}

json RunReport::document() const {
  return {{"version", VOXREG_VERSION},
          {"command", command},
          {"settings", settings},
          {"start", start},
          {"transform", transform},
          {"metric",
           {{"name", metric},
            {"before", numberOrNull(result.metricBefore)},
            {"after", numberOrNull(metricAfter())}}},
          {"overlap", result.overlap.share},
          {"smallestJacobian", result.smallestJacobian},
          {"evaluations", counts ? json(counts->evaluations) : json()},
          {"gradients", counts ? json(counts->gradients) : json()},
          {"seconds", seconds},
          {"interrupted", interrupted},
          {"nothingFound", lack.empty() ? json() : json(lack)},
          {"warnings", warnings}};
}

void writeReport(OutputFiles& outputs, const std::string& path, const RunReport& report) {
  std::ofstream file(outputs.add(path));
  constexpr int indent = 2;
  file << report.document().dump(indent, ' ', false, json::error_handler_t::replace) << '\n';
  file.close();
  if (!file) OutputFiles::fail(path);
}

}  // namespace host
