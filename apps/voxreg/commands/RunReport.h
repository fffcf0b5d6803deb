#pragma once

#include <voxreg.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "files/OutputFiles.h"

namespace host {

/// What a registration on the command line reports about itself.
struct RunReport {
  std::string command;
  nlohmann::json settings;  ///< every option, given or default
  nlohmann::json start;     ///< null if there is no choice
  std::string transform;    ///< kind of transform
  std::string metric;
  voxreg::Registration found;
  std::vector<std::string> warnings;

  void warn(const std::vector<std::string>& texts) {
    warnings.insert(warnings.end(), texts.begin(), texts.end());
  }

  /// How the rule `init` chose the start, or which `file` it came from; nothing if there was no
  /// search.
  void tellStart(const std::string& init, const std::string& file, const voxreg::Transform& given);

  /// Unknown values are null.
  nlohmann::json document() const;
};

/// Writes the report as JSON. Throws HostError.
void writeReport(OutputFiles& outputs, const std::string& path, const RunReport& report);

}  // namespace host
