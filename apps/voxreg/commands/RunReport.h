#pragma once

#include <voxreg.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "files/OutputFiles.h"

namespace host {

/// What a registration on the command line tells of itself.
struct RunReport {
  std::string command;
  nlohmann::json settings;  ///< every option, given or by default
  nlohmann::json start;     ///< null where there is no choice
  std::string transform;    ///< its kind
  std::string metric;
  voxreg::Registration found;
  std::vector<std::string> warnings;

  void warn(const std::vector<std::string>& texts) {
    warnings.insert(warnings.end(), texts.begin(), texts.end());
  }

  /// How the start was chosen by the rule `init`, or which `file` it came from; nothing where there
  /// was no search.
  void tellStart(const std::string& init, const std::string& file, const voxreg::Transform& given);

  /// What is not known is null.
  nlohmann::json document() const;
};

/// Writes the report as JSON. Throws HostError.
void writeReport(OutputFiles& outputs, const std::string& path, const RunReport& report);

}  // namespace host
