#pragma once

#include <CLI/CLI.hpp>

namespace host {

/// Adds `nonaffine`: registration of two files on grids of bricks.
void addNonAffineCommand(CLI::App& app, int& exitCode);

}  // namespace host
