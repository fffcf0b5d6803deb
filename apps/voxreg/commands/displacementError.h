#pragma once

#include <voxreg.h>

#include <string>
#include <vector>

#include "commands/placeError.h"

namespace host {

/// A position in the reference's world and the corresponding one in the model's.
struct PointPair {
  NmVec3d reference;
  NmVec3d model;
};

/// Reads lines of six numbers, xr yr zr xm ym zm. Throws HostError for anything else.
std::vector<PointPair> readPointPairs(const std::string& path);

/// Distances between where a transform maps the points and where they belong.
PlaceError displacementError(const voxreg::Transform& transform,
                             const std::vector<PointPair>& points);

}  // namespace host
