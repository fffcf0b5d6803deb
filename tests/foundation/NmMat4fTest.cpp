#include "foundation/NmMat4f.h"

#include <gtest/gtest.h>

namespace {

TEST(NmMat4f, PointsMoveDirectionsDoNot) {
  NmMat4f a;
  a.m[0][0] = 2.0f;
  a.m[0][1] = 1.0f;
  a.m[3][2] = 5.0f;
  NmVec3f p(1, 1, 1);
  EXPECT_EQ(a.multDirMatrix(p), NmVec3f(2, 2, 1));
  a.multVecMatrix(p, p);
  EXPECT_EQ(p, NmVec3f(2, 2, 6));
  a.inverse().multVecMatrix(p, p);
  EXPECT_EQ(p, NmVec3f(1, 1, 1));
}

}  // namespace
