#pragma once

#include <voxreg.h>

#include <string>
#include <vector>

#include "commands/placeError.h"

namespace host {

/// A place of the reference's world, and the one of the model's that shows the same.
struct PointPair {
  NmVec3d reference;
  NmVec3d model;
};

/// Reads lines of six numbers, xr yr zr xm ym zm. Throws HostError for anything else.
std::vector<PointPair> readPointPairs(const std::string& path);

/// How far a transform sends the points from where they belong.
PlaceError displacementError(const voxreg::Transform& transform,
                             const std::vector<PointPair>& points);

}  // namespace host
