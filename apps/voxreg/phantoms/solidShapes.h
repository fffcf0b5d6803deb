#pragma once

#include <voxreg.h>

namespace host {

// Solids by their distance functions: millimetres to the surface, negative inside.

/// Of an ellipsoid along the axes; exact near the surface only, to first order.
double ellipsoidDistance(const NmVec3d& point, const NmVec3d& center, const NmVec3d& radii);

/// Of two solids that run into one another over about `fillet` millimetres.
double smoothUnion(double a, double b, double fillet);

/// Share of a solid in a voxel-sized neighbourhood: 1 inside, 0 outside, a millimetre's slope.
double inside(double distance);

/// Rises from 0 at `low` to 1 at `high` with no slope at either end; `low` may be the larger.
double smoothStep(double low, double high, double value);

NmVec3d difference(const NmVec3d& a, const NmVec3d& b);
double length(const NmVec3d& v);

}  // namespace host
