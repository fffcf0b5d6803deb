#pragma once

#include "foundation/NmMat4f.h"

/// Rotation as a single-precision quaternion; identity by default. Its matrix follows the
/// row-vector convention: a rotation by +a about z maps (1, 0, 0) to (cos a, sin a, 0).
class NmRotation {
 public:
  float x = 0.0f, y = 0.0f, z = 0.0f, w = 1.0f;

  NmRotation() = default;
  NmRotation(float xValue, float yValue, float zValue, float wValue)
      : x(xValue), y(yValue), z(zValue), w(wValue) {}

  void setValue(float xValue, float yValue, float zValue, float wValue);

  /// Sets the rotation of a matrix whose upper 3 x 3 is orthogonal: the unit quaternion whose w, if
  /// not 0, is positive.
  void setValue(const NmMat4f& matrix);

  /// Writes the rotation as a matrix. The quaternion's length does not matter; a null quaternion
  /// gives the identity.
  void getValue(NmMat4f& matrix) const;

  /// Replaces this rotation with its inverse.
  void invert();

  bool operator==(const NmRotation&) const = default;
};
