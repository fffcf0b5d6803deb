#pragma once

#include <filesystem>
#include <list>
#include <string>

#include "files/TemporaryFile.h"

namespace host {

/// The files that one command writes, all of them or none. Each is written under a temporary name
/// next to its target; commit() renames all of them, and without a commit none remains. A file
/// keeps the mode of the one that it replaces, and a symbolic link is followed.
class OutputFiles {
 public:
  OutputFiles() = default;
  OutputFiles(const OutputFiles&) = delete;
  OutputFiles& operator=(const OutputFiles&) = delete;

  /// Creates an empty file next to `path` and returns its name, under which to write. Throws
  /// HostError if that fails, and for a target that has been added before.
  std::string add(const std::string& path);

  /// Throws HostError if a file cannot be renamed; then the previous files are restored and there
  /// are no new ones.
  void commit();

  /// Throws a HostError that reports, from errno, that writing `path` has failed.
  [[noreturn]] static void fail(const std::string& path);

  /// Throws HostError if a file of this name cannot be written. Leaves no file.
  static void requireWritable(const std::string& path);

 private:
  struct Output {
    explicit Output(const std::string& name);

    std::string path;  ///< as given by the user
    std::filesystem::path target;
    TemporaryFile part;
    TemporaryFile before;  ///< the file that it replaces
  };

  static void putInPlace(const Output& output);
  static void putBack(const Output& output);

  std::list<Output> outputs_;
};

/// Creates a folder and its parents, or throws HostError.
void makeFolder(const std::string& path);

}  // namespace host
