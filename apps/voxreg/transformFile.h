#pragma once

#include <string>

#include "BrickMap.h"

namespace host {

/// Writes a map between the frames of reference and model as JSON: the grid's box (xmin, xmax,
/// ymin, ...), its bricks per axis, the mapped position of each vertex (x fastest), and for both
/// volumes the matrix that takes their frame to the world (row vectors). All in millimetres.
void writeTransform(const std::string& path, const BrickTransform& transform,
                    const NiftiVolume& reference, const NiftiVolume& model);

}  // namespace host
