#pragma once

#include <cstdint>
#include <string>

namespace host {

/// The size of a regular, readable file. Throws HostError with a clear message for anything else.
std::uintmax_t inputFileSize(const std::string& path);

/// The contents of a text file, which must be small. Throws HostError.
std::string inputText(const std::string& path);

}  // namespace host
