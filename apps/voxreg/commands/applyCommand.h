#pragma once

#include <CLI/CLI.hpp>

namespace host {

/// Adds `apply`: resamples a volume by a transform that was found before.
void addApplyCommand(CLI::App& app, int& exitCode);

}  // namespace host
