#pragma once

#include "foundation/NmVec.h"

/// 4 x 4 matrix of floats, `m[row][column]`, for row vectors: a point p maps to p * M, with the
/// translation in the fourth row. Identity by default.
class NmMat4f {
 public:
  float m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

  void makeIdentity();

  /// The inverse matrix, computed in double precision by NmMat4d::inverse().
  NmMat4f inverse() const;

  /// The point `src` (w = 1) through the matrix, divided by the resulting w.
  void multVecMatrix(const NmVec3f& src, NmVec3f& dst) const;

  /// The direction through the upper 3 x 3, without translation.
  NmVec3f multDirMatrix(const NmVec3f& direction) const;
};
