#pragma once

/// 3 x 3 matrix of floats, `m[row][column]`; zero by default.
class NmMat3f {
 public:
  float m[3][3] = {};

  NmMat3f() = default;

  /// Nine values in row order.
  NmMat3f(float a0, float a1, float a2, float a3, float a4, float a5, float a6, float a7, float a8)
      : m{{a0, a1, a2}, {a3, a4, a5}, {a6, a7, a8}} {}
};
