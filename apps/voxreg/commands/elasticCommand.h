#pragma once

#include <CLI/CLI.hpp>

namespace host {

/// Adds `elastic`: the elastic pipeline on two files. The command stores the program's exit code in
/// `exitCode`.
void addElasticCommand(CLI::App& app, int& exitCode);

}  // namespace host
