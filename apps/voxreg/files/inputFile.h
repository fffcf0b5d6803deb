#pragma once

#include <cstdint>
#include <string>

namespace host {

/// The size of a regular file that can be read. Throws HostError with a clear line for anything
/// else.
std::uintmax_t inputFileSize(const std::string& path);

/// The whole of a text file, which is small. Throws HostError.
std::string inputText(const std::string& path);

}  // namespace host
