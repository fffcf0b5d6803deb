#include "files/inputFile.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "terminal/HostError.h"

namespace host {

namespace fs = std::filesystem;

std::uintmax_t inputFileSize(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (status.type() == fs::file_type::not_found) throw HostError(path + " does not exist");
  if (!fs::exists(status)) throw HostError("cannot read " + path + ": " + error.message());
  if (fs::is_directory(status)) throw HostError(path + " is a folder");
  if (!fs::is_regular_file(status)) throw HostError(path + " is not a regular file");
  if (access(path.c_str(), R_OK) != 0)
    throw HostError("cannot read " + path + ": " + std::strerror(errno));
  const std::uintmax_t size = fs::file_size(path, error);
  if (error) throw HostError("cannot read " + path + ": " + error.message());
  if (size == 0) throw HostError(path + " is empty");
  return size;
}

std::string inputText(const std::string& path) {
  constexpr std::uintmax_t most = 1u << 28;  // a lattice of 2 mm over a head takes half of it
  const std::uintmax_t size = inputFileSize(path);
  if (size > most) throw HostError(path + " is too large for a text file");
  std::string text(static_cast<std::size_t>(size), '\0');
  std::ifstream file(path, std::ios::binary);
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!file) throw HostError("cannot read " + path, HostError::failedRun);
  return text;
}

}  // namespace host
