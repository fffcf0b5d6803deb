#pragma once

#include "variational/ControlLattice.h"

namespace voxreg::detail {

/// The weights of the four cubic B-splines that are not 0 at `t`, 0 to 1, in an interval.
void splineWeights(double t, double (&weights)[4]);

/// Six times these, without a division.
void sixfoldWeights(double t, double (&weights)[4]);

/// Their derivatives by `t`.
void splineSlopes(double t, double (&slopes)[4]);

/// Interval and coordinate in it, 0 to 1, of a coordinate that is counted in intervals along an
/// axis of `intervals`; coordinates outside are moved to its end.
int splineCell(int intervals, double coordinate, double& t);

/// The same of a position along one axis of a lattice.
int splineCell(const ControlLattice& lattice, int axis, double position, double& t);

}  // namespace voxreg::detail
