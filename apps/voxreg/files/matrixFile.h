#pragma once

#include <voxreg.h>

#include <string>

#include "files/OutputFiles.h"

namespace host {

/// Reads four lines of four numbers: a matrix for row vectors (translation in the fourth line) from
/// model world to reference world, in millimetres. Throws HostError for anything else, and for a
/// matrix without an inverse.
NmMat4d readMatrix(const std::string& path);

/// Writes the same format with all digits. Throws HostError.
void writeMatrix(OutputFiles& outputs, const std::string& path, const NmMat4d& matrix);

}  // namespace host
