#pragma once

#include <string>
#include <vector>

#include "gridTransform.h"

namespace host {

/// A place of the reference's world, and the one of the model's that shows the same.
struct PointPair {
  NmVec3d reference;
  NmVec3d model;
};

/// How far a transform sends points from where they belong, millimetres.
struct DisplacementError {
  double mean = 0.0;
  double percentile95 = 0.0;
  double maximum = 0.0;
};

/// Reads lines of six numbers, xr yr zr xm ym zm. Throws HostError for anything else.
std::vector<PointPair> readPointPairs(const std::string& path);

/// There must be points.
DisplacementError displacementError(const GridTransform& transform,
                                    const std::vector<PointPair>& points);

}  // namespace host
