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
}

// Uniform quaternions, and half turns, where the trace is least.
TEST(NmRotation, MatrixAndBackIsTheSameRotation) {
  std::mt19937 random(3);
  std::normal_distribution<double> normal;
  for (int i = 0; i < 200; ++i) {
    double q[4] = {normal(random), normal(random), normal(random), std::fabs(normal(random))};
    if (i % 10 == 0) q[3] = 0.0;
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    const NmRotation before(static_cast<float>(q[0] / length), static_cast<float>(q[1] / length),
                            static_cast<float>(q[2] / length), static_cast<float>(q[3] / length));
    NmMat4f matrix;
    before.getValue(matrix);
    NmRotation after;
    after.setValue(matrix);
    const float product =
        before.x * after.x + before.y * after.y + before.z * after.z + before.w * after.w;
    EXPECT_NEAR(std::fabs(product), 1.0f, 1e-6f);
    EXPECT_GE(after.w, 0.0f);
  }
}

TEST(NmRotation, InvertTurnsBack) {
  NmRotation rotation = about(1, 0.7);
  rotation.invert();
  const NmRotation expected = about(1, -0.7);
  EXPECT_EQ(rotation, expected);
  rotation.setValue(0, 0, 0, 1);
  EXPECT_EQ(rotation, NmRotation());
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
