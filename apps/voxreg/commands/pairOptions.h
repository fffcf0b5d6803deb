#pragma once

#include <voxreg.h>

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "commands/optionNames.h"
#include "files/fileRoles.h"

namespace host {

/// How much a command prints.
struct TalkOptions {
  bool quiet = false;    ///< no progress and no results
  bool verbose = false;  ///< also the library's log
};

/// How --output is interpolated.
struct SamplingOptions {
  std::string interpolation = "linear";
  std::optional<double> background;

  voxreg::ResampleOptions options() const { return {interpolationOf(interpolation), background}; }
};

/// The options shared by all commands that register one volume to another.
struct PairOptions {
  std::string reference;
  std::string model;
  std::string output;
  std::string picture;
  std::string report;
  SamplingOptions sampling;
  TalkOptions talk;
  bool force = false;
};

/// The masks of a pair.
struct MaskArguments {
  std::string reference;
  std::string model;

  std::vector<FileRole> roles() const {
    return {{"--reference-mask", reference}, {"--model-mask", model}};
  }

  /// Reads the files that are named. Throws HostError.
  voxreg::Masks read() const;
};

/// The start of a search.
struct StartArguments {
  std::string file;
  std::string init = "auto";

  /// The matrix of the file, if there is one. Throws HostError.
  std::optional<voxreg::Transform> given() const;
};

/// Each adds its options to a command; the current values are the defaults.
void addVolumeOptions(CLI::App& command, std::string& reference, std::string& model);
void addSamplingOptions(CLI::App& command, SamplingOptions& options);
void addTalkOptions(CLI::App& command, TalkOptions& options);
void addForceOption(CLI::App& command, bool& force);
void addPairOptions(CLI::App& command, PairOptions& options);
void addMaskOptions(CLI::App& command, MaskArguments& arguments);
void addStartOptions(CLI::App& command, StartArguments& arguments);

}  // namespace host
