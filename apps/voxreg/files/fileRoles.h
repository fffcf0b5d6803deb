#pragma once

#include <string>
#include <vector>

namespace host {

/// A command-line option that names a file; the path is empty if it was not given.
struct FileRole {
  enum class Kind { plain, volume, picture };

  std::string option;
  std::string path;
  Kind kind = Kind::plain;

  /// Throws HostError unless an output of this name can be written or none is requested.
  void requireWritable() const;
};

/// Throws HostError if two outputs are the same file, or an output is an input, under any name.
void requireSeparateFiles(const std::vector<FileRole>& inputs,
                          const std::vector<FileRole>& outputs);

/// Throws HostError if no output was requested.
void requireAnOutput(const std::vector<FileRole>& outputs);

}  // namespace host
