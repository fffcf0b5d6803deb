#pragma once

#include <voxreg.h>

#include <string>

#include "files/OutputFiles.h"

namespace host {

/// Read or write a grid of bricks as JSON. Both throw HostError.
voxreg::BrickGrid readGridTransform(const std::string& path);
void writeGridTransform(OutputFiles& outputs, const std::string& path,
                        const voxreg::BrickGrid& transform);

}  // namespace host
