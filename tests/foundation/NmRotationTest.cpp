#include "foundation/NmRotation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

TEST(NmRotation, TurnsRowVectorsInTheRightHandedSense) {
  const float half = 0.3f;
  const double angle = 2.0 * half;
  const NmRotation aboutZ(0, 0, std::sin(half), std::cos(half));
  NmMat4f m;
  aboutZ.getValue(m);
  EXPECT_NEAR(m.m[0][0], std::cos(angle), 1e-6);
  EXPECT_NEAR(m.m[0][1], std::sin(angle), 1e-6);
  EXPECT_NEAR(m.m[1][0], -std::sin(angle), 1e-6);
}

TEST(NmRotation, MatrixAndQuaternionAreInverses) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> value(-1.0f, 1.0f);
  for (int n = 0; n < 200; ++n) {
    float q[4] = {value(random), value(random), value(random), value(random)};
    if (n < 4)  // half turns, where w is 0, and the identity
      for (int i = 0; i < 4; ++i) q[i] = i == n ? 1.0f : 0.0f;
    const float length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    const float unit = (q[3] < 0.0f ? -1.0f : 1.0f) / length;
    const NmRotation given(q[0] * 3, q[1] * 3, q[2] * 3, q[3] * 3);
    NmMat4f m;
    given.getValue(m);
    NmRotation found;
    found.setValue(m);
    EXPECT_NEAR(found.x, q[0] * unit, 1e-6);
    EXPECT_NEAR(found.y, q[1] * unit, 1e-6);
    EXPECT_NEAR(found.z, q[2] * unit, 1e-6);
    EXPECT_NEAR(found.w, q[3] * unit, 1e-6);

    found.invert();
    NmMat4f back;
    found.getValue(back);
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) EXPECT_NEAR(back.m[i][j], m.m[j][i], 1e-6);
  }
}

TEST(NmRotation, NullQuaternionIsTheIdentity) {
  NmMat4f m;
  m.m[0][1] = 5.0f;
  NmRotation(0, 0, 0, 0).getValue(m);
  EXPECT_EQ(m.m[0][0], 1.0f);
  EXPECT_EQ(m.m[0][1], 0.0f);
  NmRotation r(1, 0, 0, 0);
  r.setValue(m);
  EXPECT_EQ(r, NmRotation());
}

}  // namespace
