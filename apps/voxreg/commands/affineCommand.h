#pragma once

#include <CLI/CLI.hpp>

namespace host {

/// Adds `affine`: rigid or affine registration of two files. The command stores the program's exit
/// code in `exitCode`.
void addAffineCommand(CLI::App& app, int& exitCode);

}  // namespace host
