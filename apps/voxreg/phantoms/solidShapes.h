#pragma once

#include <voxreg.h>

namespace host {

// Solids given by their distance functions: millimetres to the surface, negative inside.

/// Of an axis-aligned ellipsoid; accurate to first order near the surface only.
double ellipsoidDistance(const NmVec3d& point, const NmVec3d& center, const NmVec3d& radii);

/// Of the union of two solids, blended over about `fillet` millimetres.
double smoothUnion(double a, double b, double fillet);

/// Share of a solid in a voxel-sized neighbourhood: 1 inside, 0 outside, with a slope of a
/// millimetre.
double inside(double distance);

/// Rises from 0 at `low` to 1 at `high` with zero slope at both ends; `low` may be the larger.
double smoothStep(double low, double high, double value);

NmVec3d difference(const NmVec3d& a, const NmVec3d& b);
double length(const NmVec3d& v);

}  // namespace host
