#pragma once

#include "commands/placeError.h"
#include "files/niftiVolume.h"

namespace host {

/// The error of a matrix over the reference's head. Both matrices take model world to reference
/// world. The head is where the reference exceeds a tenth of its 99th percentile; the error at a
/// point of it is the distance at which `result` puts the place of the model that `truth` puts
/// there.
PlaceError targetError(const NiftiVolume& reference, const NmMat4d& result, const NmMat4d& truth);

}  // namespace host
