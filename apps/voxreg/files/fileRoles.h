#pragma once

#include <string>
#include <vector>

namespace host {

/// An option of the command line that names a file; one that was not given has an empty path.
struct FileRole {
  enum class Kind { plain, volume, picture };

  std::string option;
  std::string path;
  Kind kind = Kind::plain;

  /// Throws HostError unless an output of this name can be written, or none is asked for.
  void requireWritable() const;
};

/// Throws HostError where two outputs are one file, or an output is an input, whatever their names.
void requireSeparateFiles(const std::vector<FileRole>& inputs,
                          const std::vector<FileRole>& outputs);

/// Throws HostError where no output was asked for.
void requireAnOutput(const std::vector<FileRole>& outputs);

}  // namespace host
