#pragma once

#include <voxreg.h>

#include <CLI/CLI.hpp>
#include <string>

#include "files/OutputFiles.h"

namespace host {

/// The transform file that a command writes.
struct TransformOutput {
  std::string path;
  std::string kind;  ///< "lattice", "bricks" or "field"; empty: as found, a field in NIfTI files

  /// Throws HostError if a file of this name cannot hold the kind.
  void requireSuitableName() const;

  /// Writes a transform if there is a path; a grid of bricks does not become a lattice. Fields that
  /// take its place cover the reference. Returns a line about what was lost, to be printed; empty
  /// if nothing was. Throws HostError.
  std::string write(OutputFiles& outputs, const voxreg::Transform& transform,
                    const voxreg::Image& reference) const;
};

/// Each adds an option: --transform, and --as if the transform may be a lattice.
void addTransformOption(CLI::App& command, TransformOutput& output);
void addKindOption(CLI::App& command, TransformOutput& output);

}  // namespace host
