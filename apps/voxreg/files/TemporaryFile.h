#pragma once

#include <string>

namespace host {

/// The name of a file that is gone when the object is, or when a signal ends the program, unless it
/// has been given another name by then. Making it is left to the user.
class TemporaryFile {
 public:
  /// A name that nobody else has, in a folder.
  explicit TemporaryFile(const std::string& folder);
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();

  const std::string& path() const;

  /// Removes those of all objects. May be called by the handler of a signal.
  static void removeAll();

 private:
  class Entry;

  Entry* entry_;  ///< lasts as long as the program
};

}  // namespace host
