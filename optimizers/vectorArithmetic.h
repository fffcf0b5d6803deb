#pragma once

#include "foundation/NmDVector.h"

namespace voxreg::detail {

/// Element by element, in order of the index, and in double precision throughout. A target holds at
/// least as many elements as the vector that is put to it.

/// to += factor * v
void addMultiple(NmDVector<double>& to, double factor, const NmDVector<double>& v);

void scale(NmDVector<double>& v, double factor);

/// to = -v, and of its size.
void setNegative(NmDVector<double>& to, const NmDVector<double>& v);

double dot(const NmDVector<double>& a, const NmDVector<double>& b);

/// The largest absolute value; 0 for a vector without a number.
double largestMagnitude(const NmDVector<double>& v);

/// Divides by the largest absolute value unless that is 0.
void normalise(NmDVector<double>& v);

bool isFinite(const NmDVector<double>& v);

/// Sets elements that are not finite to 0: as a move, they would lead out of the numbers for good.
void dropNonFinite(NmDVector<double>& v);

}  // namespace voxreg::detail
