#pragma once

#include <voxreg.h>

#include <string>

#include "files/OutputFiles.h"

namespace host {

/// Read or write a transform that is one field as NIfTI, if the path ends in .nii or .nii.gz, or
/// one that is one grid of bricks or one lattice as JSON. Both throw HostError.
voxreg::Transform readTransform(const std::string& path);
void writeTransform(OutputFiles& outputs, const std::string& path,
                    const voxreg::Transform& transform);

}  // namespace host
