#pragma once

#include <filesystem>
#include <string>

namespace host {

/// A file that appears under its name only when it is complete. It is written under a name of its
/// own in the same folder; commit() renames it, and without a commit nothing stays behind.
class OutputFile {
 public:
  /// Throws HostError when the file can't be written.
  explicit OutputFile(const std::string& path);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  /// Where to write.
  const std::string& partPath() const { return partPath_; }

  void commit();

  /// What to throw when writing has failed.
  [[noreturn]] void fail() const;

  /// Throws HostError when a file of this name could not be written. Leaves nothing behind.
  static void requireWritable(const std::string& path);

 private:
  std::filesystem::path target_;
  std::string partPath_;
  bool committed_ = false;
};

/// Makes a folder and those above it, or throws HostError.
void makeFolder(const std::string& path);

}  // namespace host
