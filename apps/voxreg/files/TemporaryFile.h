#pragma once

#include <string>

namespace host {

/// The name of a file that is removed with the object, or when a signal ends the program, unless it
/// has been renamed by then. The user of the object creates the file.
class TemporaryFile {
 public:
  /// A unique name in a folder.
  explicit TemporaryFile(const std::string& folder);
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();

  const std::string& path() const;

  /// Removes the files of all objects. May be called by a signal handler.
  static void removeAll();

 private:
  class Entry;

  Entry* entry_;  ///< lives as long as the program
};

}  // namespace host
