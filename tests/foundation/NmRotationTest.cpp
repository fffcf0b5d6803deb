#include "foundation/NmRotation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

NmRotation about(int axis, double angle) {
  float q[4] = {0.0f, 0.0f, 0.0f, static_cast<float>(std::cos(angle / 2))};
  q[axis] = static_cast<float>(std::sin(angle / 2));
  return {q[0], q[1], q[2], q[3]};
}

// The rows of a matrix are the images of the axes. Quaternions may have any length; at half turns
// the trace is least.
TEST(NmRotation, TurnsRowVectorsCounterClockwise) {
  for (const double a : {0.3, std::numbers::pi})
    for (int axis = 0; axis < 3; ++axis) {
      const NmRotation q = about(axis, a);
      NmMat4f matrix;
      NmRotation(3 * q.x, 3 * q.y, 3 * q.z, 3 * q.w).getValue(matrix);
      const int from = (axis + 1) % 3;
      EXPECT_NEAR(matrix.m[from][from], std::cos(a), 1e-7);
      EXPECT_NEAR(matrix.m[from][(axis + 2) % 3], std::sin(a), 1e-7);
      EXPECT_NEAR(matrix.m[axis][axis], 1.0f, 1e-7);
      EXPECT_EQ(matrix.m[3][3], 1.0f);
      NmRotation again;
      again.setValue(matrix);
      EXPECT_NEAR(std::fabs(q.x * again.x + q.y * again.y + q.z * again.z + q.w * again.w), 1,
                  1e-6);
    }
  NmRotation back = about(1, 0.3);
  back.invert();
  EXPECT_EQ(back, about(1, -0.3));
}

TEST(NmRotation, DegenerateInputIsTheIdentity) {
  NmMat4f matrix;
  matrix.m[0][1] = 5.0f;
  NmRotation(0, 0, 0, 0).getValue(matrix);
  EXPECT_EQ(matrix.m[0][1], 0.0f);
  matrix.m[0][0] = std::nanf("");
  NmRotation rotation(1, 0, 0, 0);
  rotation.setValue(matrix);
  EXPECT_EQ(rotation, NmRotation());
}

}  // namespace
