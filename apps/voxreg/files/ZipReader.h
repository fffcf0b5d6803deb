#pragma once

#include <zlib.h>

#include <cstdint>
#include <memory>
#include <string>

namespace host {

/// Reads a file, plain or compressed by gzip, from its beginning on. What is wrong with the file is
/// thrown as a HostError that says it.
class ZipReader {
 public:
  explicit ZipReader(const std::string& path);

  const std::string& path() const { return path_; }

  /// Reads so many bytes, or those that are left, and returns their number.
  std::size_t readUpTo(void* bytes, std::size_t count);

  void read(void* bytes, std::size_t count);

  void skip(std::uint64_t count);

  /// Reads and drops what is left, so that the checksum of a compressed file is tested.
  void finish();

  /// False when the file can't hold so many bytes, however well they are compressed.
  bool mayHold(double bytes) const;

  /// The name says what the contents do not.
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
