#pragma once

#include <string>
#include <vector>

#include "BrickMap.h"

namespace host {

/// A place in the reference's world, and the place in the model's that shows the same tissue.
struct PointPair {
  NmVec3d reference;
  NmVec3d model;
};

/// Reads lines of six numbers, x, y and z of the reference's place and of the model's. Throws
/// HostError for anything else.
std::vector<PointPair> readPointPairs(const std::string& path);

/// How far a map sends places from where they belong, millimetres.
struct DisplacementError {
  double mean = 0.0;
  double percentile95 = 0.0;
  double maximum = 0.0;
};

DisplacementError displacementError(const std::vector<PointPair>& truth,
                                    const BrickTransform& transform, const NiftiVolume& reference,
                                    const NiftiVolume& model);

}  // namespace host
