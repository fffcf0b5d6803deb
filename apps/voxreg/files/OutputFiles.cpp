#include "files/OutputFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <optional>
#include <system_error>

#include "terminal/HostError.h"
#include "terminal/endingSignals.h"

namespace host {

namespace fs = std::filesystem;

namespace {

/// Errors that another output name would not avoid.
bool isFailureOfTheMachine(int error) {
  constexpr int errors[] = {ENOSPC, EDQUOT, EIO, EFBIG, ENOMEM, EMFILE, ENFILE};
  return std::find(std::begin(errors), std::end(errors), error) != std::end(errors);
}

[[noreturn]] void complain(const std::string& path, int error) {
  throw HostError("cannot write " + path + ": " + std::strerror(error),
                  isFailureOfTheMachine(error) ? HostError::failedRun : HostError::badInput);
}

/// The file itself at the end of a chain of symbolic links, which need not exist.
fs::path targetOf(const std::string& path) {
  constexpr int mostLinks = 40;
  fs::path target = path;
  std::error_code error;
  for (int links = 0; fs::is_symlink(fs::symlink_status(target, error)); ++links) {
    if (links == mostLinks) complain(path, ELOOP);
    target = target.parent_path() / fs::read_symlink(target, error);
  }
  target = fs::weakly_canonical(fs::absolute(target, error), error);
  if (error) complain(path, error.value());
  if (!target.has_filename()) complain(path, EISDIR);
  return target;
}

/// The mode of the file to be replaced, if there is one. A rename would also replace a folder or
/// device.
std::optional<::mode_t> modeOf(const fs::path& target, const std::string& path) {
  struct stat status = {};
  if (stat(target.c_str(), &status) != 0) return std::nullopt;
  if (!S_ISREG(status.st_mode)) throw HostError("cannot write " + path + ": not a regular file");
  constexpr ::mode_t permissions = 07777;
  return status.st_mode & permissions;
}

/// Nobody else may read a file that becomes private.
void makeEmptyFile(const std::string& path, std::optional<::mode_t> mode, const std::string& name) {
  constexpr ::mode_t anyone = 0666;
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                        (mode.value_or(anyone) & anyone) | S_IWUSR);
  if (file < 0 || close(file) != 0) complain(name, errno);
}

}  // namespace

OutputFiles::Output::Output(const std::string& name)
    : path(name), target(targetOf(name)), part(target.parent_path()), before(target.parent_path()) {
  const std::optional<::mode_t> mode = modeOf(target, path);
  if (mode && access(target.c_str(), W_OK) != 0) complain(path, errno);
  makeEmptyFile(part.path(), mode, path);
}

std::string OutputFiles::add(const std::string& path) {
  const fs::path target = targetOf(path);
  const auto isSame = [&](const Output& other) { return other.target == target; };
  if (std::any_of(outputs_.begin(), outputs_.end(), isSame))
    throw HostError("cannot write " + path + ": another output has this name");
  const Output& added = outputs_.emplace_back(path);
  errno = 0;  // so that errno refers to this file
  return added.part.path();
}

/// Without hard links, the name is missing for a moment.
void OutputFiles::putInPlace(const Output& output) {
  const char* const target = output.target.c_str();
  const char* const before = output.before.path().c_str();
  const char* const part = output.part.path().c_str();
  if (const std::optional<::mode_t> mode = modeOf(output.target, output.path)) {
    if (chmod(part, *mode) != 0) complain(output.path, errno);
    if (link(target, before) != 0 && std::rename(target, before) != 0) complain(output.path, errno);
  }
  if (std::rename(part, target) != 0) complain(output.path, errno);
}

void OutputFiles::putBack(const Output& output) {
  const bool isPlaced = access(output.part.path().c_str(), F_OK) != 0;
  const bool isBack = std::rename(output.before.path().c_str(), output.target.c_str()) == 0;
  if (isPlaced && !isBack) (void)unlink(output.target.c_str());
}

void OutputFiles::commit() {
  const EndingSignalsHeld held;
  auto output = outputs_.begin();
  try {
    for (; output != outputs_.end(); ++output) putInPlace(*output);
  } catch (const HostError& error) {
    for (auto done = outputs_.begin(); done != std::next(output); ++done) putBack(*done);
    throw HostError(error.what(), HostError::failedRun);
  }
  outputs_.clear();
}

void OutputFiles::fail(const std::string& path) {
  const char* const reason = errno != 0 ? std::strerror(errno) : "the disk accepted no more data";
  throw HostError("cannot write " + path + ": " + reason, HostError::failedRun);
}

void OutputFiles::requireWritable(const std::string& path) {
  const Output trial(path);
}

void makeFolder(const std::string& path) {
  std::error_code error;
  fs::create_directories(path, error);
  if (error)
    throw HostError(
        "cannot make folder " + path + ": " + error.message(),
        isFailureOfTheMachine(error.value()) ? HostError::failedRun : HostError::badInput);
}

}  // namespace host
