#pragma once

#include <voxreg.h>

#include <string>

#include "files/OutputFiles.h"

namespace host {

/// Reads a field from a NIfTI file (.nii, .nii.gz) of three floats per node on the fifth axis, with
/// the intent of displacements: in millimetres along the world's axes, from a node to where it is
/// mapped. Throws HostError with a clear message for anything else.
voxreg::DisplacementMap readField(const std::string& path);

/// Writes the same format; displacements include that of the map's matrix. Throws HostError.
void writeField(OutputFiles& outputs, const std::string& path, const voxreg::DisplacementMap& map);

}  // namespace host
