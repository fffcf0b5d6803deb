#pragma once

#include <CLI/CLI.hpp>

namespace host {

/// Adds `resample`: scales a volume along its axes.
void addResampleCommand(CLI::App& app, int& exitCode);

}  // namespace host
