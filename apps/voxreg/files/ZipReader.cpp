#include "files/ZipReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "files/inputFile.h"
#include "terminal/HostError.h"

namespace host {

namespace {

constexpr unsigned int bufferBytes = 1u << 17;

/// zlib's message, or a clearer one. It follows the path.
std::string damageOf(std::string_view zlibText, const std::string& path) {
  if (zlibText.find("end of file") != std::string_view::npos) return "it is cut short";
  if (zlibText.find("data check") != std::string_view::npos) return "its checksum is wrong";
  if (zlibText.starts_with(path + ": ")) zlibText.remove_prefix(path.size() + 2);
  return std::string(zlibText);
}

}  // namespace

ZipReader::ZipReader(const std::string& path)
    : path_(path), size_(inputFileSize(path)), file_(gzopen(path.c_str(), "rb")) {
  if (file_ == nullptr)
    throw HostError("cannot read " + path_ + ": " + std::strerror(errno), HostError::failedRun);
  (void)gzbuffer(file_.get(), bufferBytes);
}

std::size_t ZipReader::readUpTo(void* bytes, std::size_t count) {
  constexpr std::size_t mostAtOnce = 1u << 30;
  std::size_t done = 0;
  while (done < count) {
    const auto wanted = static_cast<unsigned int>(std::min(count - done, mostAtOnce));
    const int got = gzread(file_.get(), static_cast<char*>(bytes) + done, wanted);
    requireHealth(got);
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  return done;
}

void ZipReader::read(void* bytes, std::size_t count) {
  if (readUpTo(bytes, count) != count) throw HostError(path_ + " is cut short");
}

void ZipReader::skip(std::uint64_t count) {
  char dropped[4096];
  for (std::uint64_t left = count; left > 0;) {
    const std::size_t part =
        static_cast<std::size_t>(std::min<std::uint64_t>(left, sizeof dropped));
    read(dropped, part);
    left -= part;
  }
}

void ZipReader::finish() {
  char dropped[4096];
  while (readUpTo(dropped, sizeof dropped) == sizeof dropped) {
  }
}

// Deflate compresses at most 1032 bytes into one.
bool ZipReader::mayHold(double bytes) const {
  constexpr double densest = 1032.0;
  const double factor = gzdirect(file_.get()) != 0 ? 1.0 : densest;
  return bytes <= static_cast<double>(size_) * factor;
}

bool ZipReader::lacksItsCompression() const {
  return path_.ends_with(".gz") && gzdirect(file_.get()) != 0;
}

void ZipReader::requireHealth(int count) const {
  int state = Z_OK;
  const char* const text = gzerror(file_.get(), &state);
  if (count >= 0 && (state == Z_OK || state == Z_STREAM_END)) return;
  if (state == Z_DATA_ERROR || state == Z_BUF_ERROR)
    throw HostError(path_ + " is a damaged gzip file: " + damageOf(text, path_));
  throw HostError("cannot read " + path_ + ": " +
                      (state == Z_ERRNO ? std::strerror(errno) : damageOf(text, path_)),
                  HostError::failedRun);
}

}  // namespace host
