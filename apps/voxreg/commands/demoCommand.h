#pragma once

#include <CLI/CLI.hpp>

namespace host {

/// Adds `demo`: registers a head phantom that was moved by a known matrix, and writes the results
/// into a folder.
void addDemoCommand(CLI::App& app, int& exitCode);

}  // namespace host
