#include "foundation/NmRotation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

NmRotation about(int axis, double angle) {
  float q[4] = {0.0f, 0.0f, 0.0f, static_cast<float>(std::cos(angle / 2))};
  q[axis] = static_cast<float>(std::sin(angle / 2));
  return {q[0], q[1], q[2], q[3]};
}

// The rows of a matrix are the images of the axes.
TEST(NmRotation, TurnsRowVectorsCounterClockwise) {
  const double a = 0.3;
  for (int axis = 0; axis < 3; ++axis) {
    NmMat4f matrix;
    about(axis, a).getValue(matrix);
    const int from = (axis + 1) % 3;
    EXPECT_NEAR(matrix.m[from][from], std::cos(a), 1e-7);
    EXPECT_NEAR(matrix.m[from][(axis + 2) % 3], std::sin(a), 1e-7);
    EXPECT_EQ(matrix.m[axis][axis], 1.0f);
    EXPECT_EQ(matrix.m[3][3], 1.0f);
  }
  NmRotation back = about(1, a);
  back.invert();
  EXPECT_EQ(back, about(1, -a));
}

// Quaternions of any length, and half turns, where the trace is least.
TEST(NmRotation, MatrixAndBackIsTheSameRotation) {
  std::mt19937 random(3);
  std::normal_distribution<float> normal;
  for (int i = 0; i < 200; ++i) {
    const float w = i % 10 == 0 ? 0.0f : std::fabs(normal(random));
    const NmRotation before(normal(random), normal(random), normal(random), w);
    NmMat4f matrix;
    before.getValue(matrix);
    NmRotation after;
    after.setValue(matrix);
    const float product =
        before.x * after.x + before.y * after.y + before.z * after.z + before.w * after.w;
    EXPECT_NEAR(std::fabs(product), std::hypot(std::hypot(before.x, before.y, before.z), w), 5e-6f);
    EXPECT_NEAR(std::hypot(std::hypot(after.x, after.y, after.z), after.w), 1.0f, 1e-6f);
    EXPECT_GE(after.w, 0.0f);
  }
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
