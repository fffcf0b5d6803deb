#include <gtest/gtest.h>

#include <cmath>

#include "elastic/RegElasticRegistration.h"

namespace {

struct Case {
  float rows[3][3];
  bool isOblique;
  NmVec3i axes;
  NmVec3i signs;
};

float cosine(double degrees) {
  return static_cast<float>(std::cos(degrees * std::acos(-1.0) / 180));
}

TEST(IsObliqueOrientation, TakesOneColumnForEachRow) {
  const NmVec3i plain(0, 1, 2);
  const NmVec3i ones(1, 1, 1);
  const Case cases[] = {
      {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, false, plain, ones},
      {{{0, -1, 0}, {0, 0.1f, 0.99f}, {-2, 0, 0}}, false, {2, 0, 1}, {-1, -1, 1}},
      {{{0, 0, 1}, {-1, 0, 0}, {0, -1, 0}}, false, {1, 2, 0}, {-1, -1, 1}},
      {{{cosine(10), 0, 0}, {0, -cosine(10), 0}, {0, 0, 1}}, false, plain, {1, -1, 1}},
      {{{-1, 0, 0}, {0, cosine(11), 0}, {0, 0, 1}}, true, plain, ones},
      {{{-1, 0, 0}, {0, 1, 0}, {NAN, NAN, NAN}}, true, plain, ones},
      {{{1, 1, 0}, {0, 1, 1}, {0, 0, 1}}, false, plain, ones},
      {{{-1, 0, 0}, {1, 0, 0}, {0, 0, 1}}, true, {1, 1, 2}, {-1, 1, 1}},
      // Two rows take the third column, and still the axes add up to 3.
      {{{0, 0, 1}, {0, 0, 1}, {0, 1, 0}}, true, {0, 2, 1}, ones}};
  for (const Case& c : cases) {
    NmMat4f matrix;
    for (int r = 0; r < 3; ++r)
      for (int column = 0; column < 3; ++column) matrix.m[r][column] = c.rows[r][column];
    matrix.m[0][3] = 5;
    NmVec3i axes;
    NmVec3i signs;
    EXPECT_EQ(RegElasticRegistration().isObliqueOrientation(matrix, axes, signs), c.isOblique);
    EXPECT_EQ(axes, c.axes) << &c - cases;
    EXPECT_EQ(signs, c.signs) << &c - cases;
  }
}

}  // namespace
