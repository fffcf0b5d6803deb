#pragma once

#include <voxreg.h>

#include <CLI/CLI.hpp>
#include <string>

#include "files/OutputFiles.h"

namespace host {

/// Adds --as to a command whose --transform may be a lattice: "lattice" or "bricks".
void addKindOption(CLI::App& command, std::string& kind);

/// Writes a transform as that kind; a grid of bricks remains one. Returns a line about what was
/// lost, to be printed; empty if nothing was. Throws HostError.
std::string writeAs(const std::string& kind, OutputFiles& outputs, const std::string& path,
                    const voxreg::Transform& transform);

}  // namespace host
