#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace host {

/// The files of every command that brings one volume onto another.
struct PairFiles {
  std::string reference;
  std::string model;
  std::string output;
  std::string picture;
};

void addPairOptions(CLI::App& command, PairFiles& files);

/// Throws HostError unless output and picture can be written.
void requireWritable(const PairFiles& files);

}  // namespace host
