#pragma once

#include "foundation/NmDVector.h"

namespace voxreg::detail {

/// Element by element, in index order, and in double precision throughout. A target holds at least
/// as many elements as the vector that is written to it.

/// to += factor * v
void addMultiple(NmDVector<double>& to, double factor, const NmDVector<double>& v);

void scale(NmDVector<double>& v, double factor);

/// to = -v, resized to match.
void setNegative(NmDVector<double>& to, const NmDVector<double>& v);

double dot(const NmDVector<double>& a, const NmDVector<double>& b);

/// The largest absolute value; 0 for an empty vector or one of NaN.
double largestMagnitude(const NmDVector<double>& v);

/// Divides by the largest absolute value unless that is 0.
void normalise(NmDVector<double>& v);

bool isFinite(const NmDVector<double>& v);

/// Sets elements that are not finite to 0: in a move, they would make parameters permanently
/// non-finite.
void dropNonFinite(NmDVector<double>& v);

}  // namespace voxreg::detail
