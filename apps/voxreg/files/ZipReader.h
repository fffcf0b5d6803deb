#pragma once

#include <zlib.h>

#include <cstdint>
#include <memory>
#include <string>

namespace host {

/// Reads a file, plain or compressed with gzip, from its beginning. A faulty file throws a
/// HostError that states the fault.
class ZipReader {
 public:
  explicit ZipReader(const std::string& path);

  const std::string& path() const { return path_; }

  /// Reads the given number of bytes, or what is left, and returns the number read.
  std::size_t readUpTo(void* bytes, std::size_t count);

  void read(void* bytes, std::size_t count);

  void skip(std::uint64_t count);

  /// Reads and discards the rest, so that the checksum of a compressed file is verified.
  void finish();

  /// False if the file cannot hold this many bytes, however well they are compressed.
  bool mayHold(double bytes) const;

  /// Judged by the name, not the contents.
  bool lacksItsCompression() const;

 private:
  void requireHealth(int count) const;

  struct Closing {
    void operator()(gzFile_s* file) const { (void)gzclose(file); }
  };

  std::string path_;
  std::uintmax_t size_;
  std::unique_ptr<gzFile_s, Closing> file_;
};

}  // namespace host
