#pragma once

#include <string>

#include "files/OutputFiles.h"
#include "files/niftiVolume.h"

namespace host {

/// From the reference to the model.
struct BeforeAndAfter {
  voxreg::Transform before;
  voxreg::Transform after;
};

/// What the picture shows in addition to reference and model.
enum class MapPanels {
  none,
  /// Straight lines of the model as `after` maps them onto the reference, and the determinant of
  /// the Jacobian of `after`: 0 is black, 1 middle grey, 2 white.
  shown
};

/// Writes a PNG file: one row for each of the three middle slices of the reference (except those
/// only one voxel wide), with reference and model as a checkerboard and as a difference image,
/// before and after. Each volume's grey values run from its 1st to its 99th percentile.
void writePicture(OutputFiles& outputs, const std::string& path, const NiftiVolume& reference,
                  const NiftiVolume& model, const BeforeAndAfter& transforms,
                  MapPanels panels = MapPanels::none);

}  // namespace host
