#pragma once

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// Determinants of a smaller magnitude are checked more closely before a matrix is split.
inline constexpr double smallDeterminant = 0.0001;

/// nonAffineRegistration::decomposeMatrix for a plain matrix.
bool decompose(const double (&f)[3][3], double det, NmVec3d& scale, NmVec3d& shear);

}  // namespace voxreg::detail
