#include "OutputFile.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "HostError.h"

namespace host {

namespace fs = std::filesystem;

OutputFile::OutputFile(const std::string& path) {
  std::error_code error;
  target_ = fs::weakly_canonical(path, error);
  if (error) throw HostError("cannot write " + path + ": " + error.message());
  // A rename would put a file in the place of a folder or device.
  if (fs::exists(target_, error) && !fs::is_regular_file(target_, error))
    throw HostError("cannot write " + path + ": not a regular file");
  partPath_ = target_.string() + ".part" + std::to_string(getpid());
  std::FILE* const file = std::fopen(partPath_.c_str(), "wbx");
  if (file == nullptr) throw HostError("cannot write " + path + ": " + std::strerror(errno));
  (void)std::fclose(file);
}

OutputFile::~OutputFile() {
  std::error_code ignored;
  if (!committed_) fs::remove(partPath_, ignored);
}

void OutputFile::commit() {
  std::error_code error;
  fs::rename(partPath_, target_, error);
  if (error) throw HostError("cannot write " + target_.string() + ": " + error.message());
  committed_ = true;
}

void OutputFile::fail() const {
  const char* const reason = errno != 0 ? std::strerror(errno) : "the disk took no more";
  throw HostError("cannot write " + target_.string() + ": " + reason);
}

void OutputFile::requireWritable(const std::string& path) {
  const OutputFile trial(path);
}

void makeFolder(const std::string& path) {
  std::error_code error;
  fs::create_directories(path, error);
  if (error) throw HostError("cannot make folder " + path + ": " + error.message());
}

}  // namespace host
