#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "searchSettings.h"

namespace host {

/// Each adds its options to a command; the settings' present values are the defaults.
void addMetricOptions(CLI::App& command, MetricSettings& settings);
void addSearchOptions(CLI::App& command, SearchSettings& settings);
void addLevelOptions(CLI::App& command, LevelSettings& settings);

/// A check for the numbers of an option: finite and above a limit.
CLI::Validator numberAbove(double limit);

}  // namespace host
