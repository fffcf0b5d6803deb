#pragma once

#include "commands/placeError.h"
#include "files/niftiVolume.h"

namespace host {

/// The error of a matrix over the reference's head. Both matrices map model world to reference
/// world. The head is where the reference exceeds a tenth of its 99th percentile. The error at a
/// point is the distance to where `result` maps the model position that `truth` maps to the point.
PlaceError targetError(const NiftiVolume& reference, const NmMat4d& result, const NmMat4d& truth);

}  // namespace host
