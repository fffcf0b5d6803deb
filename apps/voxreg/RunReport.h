#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "OutputFiles.h"
#include "SearchOutcome.h"
#include "assessment.h"

namespace host {

/// What a registration on the command line tells of itself.
struct RunReport {
  std::string command;
  nlohmann::json settings;  ///< every option, given or by default
  nlohmann::json start;     ///< null where there is no choice
  std::string transform;    ///< its kind
  std::string metric;
  Assessment result;
  std::optional<SearchCounts> counts;
  double seconds = 0.0;
  bool interrupted = false;
  std::string lack;  ///< why nothing was found; empty where something was
  std::vector<std::string> warnings;

  void warn(const std::vector<std::string>& texts) {
    warnings.insert(warnings.end(), texts.begin(), texts.end());
  }

  /// Nothing also where the search was stopped before it had evaluated anything.
  std::optional<double> metricAfter() const;

  /// What is not known is null.
  nlohmann::json document() const;
};

/// Writes the report as JSON. Throws HostError.
void writeReport(OutputFiles& outputs, const std::string& path, const RunReport& report);

}  // namespace host
