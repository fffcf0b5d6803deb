#pragma once

#include "niftiVolume.h"

namespace host {

/// How far a result sends the points of the reference's head from where they belong, millimetres.
struct TargetError {
  double mean = 0.0;
  double maximum = 0.0;
};

/// Both matrices take model world to reference world. The head is where the reference exceeds a
/// tenth of its 99th percentile; the error at a point of it is the distance at which `result` puts
/// the place of the model that `truth` puts there.
TargetError targetError(const NiftiVolume& reference, const NmMat4d& result, const NmMat4d& truth);

}  // namespace host
