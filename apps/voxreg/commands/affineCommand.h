#pragma once

#include <CLI/CLI.hpp>

namespace host {

/// Adds `affine`: rigid or affine registration of two files. What it runs returns the program's
/// exit code through `exitCode`.
void addAffineCommand(CLI::App& app, int& exitCode);

}  // namespace host
