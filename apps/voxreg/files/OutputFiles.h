#pragma once

#include <filesystem>
#include <list>
#include <string>

#include "files/TemporaryFile.h"

namespace host {

/// The files that one command writes, all of them or none. Each is written under a name of its own
/// beside its target; commit() gives all of them their names, and without a commit nothing stays
/// behind. A file keeps the mode of the one that it replaces, and a symbolic link is followed.
class OutputFiles {
 public:
  OutputFiles() = default;
  OutputFiles(const OutputFiles&) = delete;
  OutputFiles& operator=(const OutputFiles&) = delete;

  /// Makes an empty file beside `path` and returns its name, under which to write. Throws HostError
  /// when that cannot be done, and for a target that has been added before.
  std::string add(const std::string& path);

  /// Throws HostError when a file cannot be put in its place; those that were there before are
  /// there again then, and no new ones.
  void commit();

  /// Throws what tells that writing `path` has failed, as errno has it.
  [[noreturn]] static void fail(const std::string& path);

  /// Throws HostError when a file of this name could not be written. Leaves nothing behind.
  static void requireWritable(const std::string& path);

 private:
  struct Output {
    explicit Output(const std::string& name);

    std::string path;  ///< as the user has given it
    std::filesystem::path target;
    TemporaryFile part;
    TemporaryFile before;  ///< what stood in its place
  };

  static void putInPlace(const Output& output);
  static void putBack(const Output& output);

  std::list<Output> outputs_;
};

/// Makes a folder and those above it, or throws HostError.
void makeFolder(const std::string& path);

}  // namespace host
