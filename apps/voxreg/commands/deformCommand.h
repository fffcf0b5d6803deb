#pragma once

#include <CLI/CLI.hpp>

namespace host {

/// `deform`: a smooth map on a lattice of cubic B-splines.
void addDeformCommand(CLI::App& app, int& exitCode);

}  // namespace host
