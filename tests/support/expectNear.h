#pragma once

#include <gtest/gtest.h>

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"

inline void expectNear(const NmVec3d& a, const NmVec3d& b, double tolerance) {
  for (int c = 0; c < 3; ++c) EXPECT_NEAR(a[c], b[c], tolerance) << "component " << c;
}

inline void expectNear(const NmMat4d& a, const NmMat4d& b, double tolerance) {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) EXPECT_NEAR(a.m[i][j], b.m[i][j], tolerance) << i << ", " << j;
}
