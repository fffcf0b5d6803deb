#include "commands/RunReport.h"

#include <fstream>

#include "commands/optionNames.h"
#include "files/jsonNumbers.h"

namespace host {

namespace {

using nlohmann::json;

json numberOrNull(const std::optional<double>& value) {
  return value ? json(*value) : json();
}

}  // namespace

void RunReport::tellStart(const std::string& init, const std::string& file,
                          const voxreg::Transform& given) {
  if (found.reason.kind == voxreg::Reason::Kind::noInformation) return;
  if (!found.chosenStart) {
    start = {{"file", file}, {"matrix", numbersOf(given.modelToReference().value_or(NmMat4d()))}};
    return;
  }
  json values = json::object();
  for (const voxreg::Start& tried : found.starts)
    values[nameOf(tried.rule)] = numberOrNull(tried.reached);
  start = {{"init", init},
           {"chosen", nameOf(found.chosenStart->rule)},
           {"values", values},
           {"matrix", numbersOf(found.chosenStart->matrix)}};
}

json RunReport::document() const {
  const bool isCounted = found.reason.kind != voxreg::Reason::Kind::noInformation;
  return {{"version", VOXREG_VERSION},
          {"command", command},
          {"settings", settings},
          {"start", start},
          {"transform", transform},
          {"metric",
           {{"name", metric},
            {"before", numberOrNull(found.metricBefore)},
            {"after", numberOrNull(found.metricAfter)}}},
          {"overlap", found.overlap},
          {"smallestJacobian", found.smallestJacobian},
          {"evaluations", isCounted ? json(found.evaluations) : json()},
          {"gradients", isCounted ? json(found.gradients) : json()},
          {"seconds", found.seconds},
          {"interrupted", found.interrupted},
          {"nothingFound", found ? json() : json(found.reason.message)},
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
