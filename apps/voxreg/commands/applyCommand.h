#pragma once

#include <CLI/CLI.hpp>

namespace host {

/// Adds `apply`: resamples a volume with a transform found earlier.
void addApplyCommand(CLI::App& app, int& exitCode);

}  // namespace host
