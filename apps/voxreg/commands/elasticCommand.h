#pragma once

#include <CLI/CLI.hpp>

namespace host {

/// Adds `elastic`: the elastic pipeline on two files. What it runs returns the program's exit code
/// through `exitCode`.
void addElasticCommand(CLI::App& app, int& exitCode);

}  // namespace host
