#pragma once

#include <string>

#include "niftiVolume.h"

namespace host {

/// A model seen through two matrices, model world to reference world.
struct BeforeAndAfter {
  NmMat4d before;
  NmMat4d after;
};

/// Writes a PNG file: one row for each of the three middle slices of the reference (those that are
/// more than a line), with reference and model as a checkerboard and as a difference image, before
/// and after. Each volume's grey values run from its 1st to its 99th percentile.
void writePicture(const std::string& path, const NiftiVolume& reference, const NiftiVolume& model,
                  const BeforeAndAfter& matrices);

}  // namespace host
