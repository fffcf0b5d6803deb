#pragma once

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"
#include "foundation/numbers/vectors.h"

namespace voxreg::detail {

/// The derivative at a point that has no place: NaN in the upper 3 x 3.
inline NmMat4d noDerivative() {
  NmMat4d matrix;
  for (int a = 0; a < 3; ++a)
    for (int c = 0; c < 3; ++c) matrix.m[a][c] = nowhere().x;
  return matrix;
}

/// Without the translation.
inline NmMat4d linearPart(const NmMat4d& matrix) {
  NmMat4d linear = matrix;
  for (int c = 0; c < 3; ++c) linear.m[3][c] = 0.0;
  return linear;
}

/// As NmMat4d::multVecMatrix, to the bit, but inlined and without the division by 1, which takes
/// longer than the rest.
inline NmVec3d throughAffine(const NmMat4d& affine, const NmVec3d& p) {
  const auto& m = affine.m;
  const auto along = [&](int c) {
    return ((p.x * m[0][c] + p.y * m[1][c]) + p.z * m[2][c]) + m[3][c];
  };
  return {along(0), along(1), along(2)};
}

/// Of the upper 3 x 3; unlike NmMat4d::det3 in double precision.
inline double determinant(const NmMat4d& matrix) {
  const auto row = [&](int a) { return NmVec3d(matrix.m[a][0], matrix.m[a][1], matrix.m[a][2]); };
  return dot(row(0), cross(row(1), row(2)));
}

}  // namespace voxreg::detail
