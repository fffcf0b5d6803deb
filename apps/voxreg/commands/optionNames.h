#pragma once

#include <voxreg.h>

#include <string>
#include <vector>

namespace host {

// The command line's names for the library's enumerators. Lists are in the order of the help; an
// unknown name throws HostError.

std::vector<std::string> metricNames();
voxreg::Metric metricOf(const std::string& name);

std::vector<std::string> searchNames();
voxreg::Search searchOf(const std::string& name);

std::vector<std::string> startRuleNames();
voxreg::StartRule startRuleOf(const std::string& name);
std::string nameOf(voxreg::StartRule rule);

std::vector<std::string> elasticEngineNames();
voxreg::ElasticEngine elasticEngineOf(const std::string& name);

std::vector<std::string> interpolationNames();
voxreg::Interpolation interpolationOf(const std::string& name);

}  // namespace host
