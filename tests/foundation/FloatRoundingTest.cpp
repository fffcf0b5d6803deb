#include <gtest/gtest.h>

namespace {

// Two values rounded to float, stored next to each other as float and used again as double: the
// pattern in which GCC's straight-line vectoriser drops the roundings.
void roundTwice(const double* in, float* keep, double* out) {
  const float a = static_cast<float>(in[0]);
  const float b = static_cast<float>(in[1]);
  keep[0] = a;
  keep[1] = b;
  out[0] = static_cast<double>(a);
  out[1] = static_cast<double>(b);
}

double multiplyAdd(double a, double b, double c) {
  return a * b + c;
}

// Called through these, so that nothing is evaluated at compile time.
void (*volatile roundTwiceHidden)(const double*, float*, double*) = roundTwice;
double (*volatile multiplyAddHidden)(double, double, double) = multiplyAdd;

TEST(FloatRounding, RoundingToFloatIsKept) {
  const double in[2] = {0.1, 0.7};
  float keep[2];
  double out[2];
  roundTwiceHidden(in, keep, out);
  EXPECT_EQ(out[0], 0x1.99999ap-4);  // 0.1 and 0.7 to 24 bits
  EXPECT_EQ(out[1], 0x1.666666p-1);
  EXPECT_EQ(keep[0], 0.1f);
  EXPECT_EQ(keep[1], 0.7f);
}

TEST(FloatRounding, ProductsAreNotFusedIntoSums) {
  const double a = 1.0 + 0x1p-30;
  EXPECT_EQ(multiplyAddHidden(a, a, -1.0 - 0x1p-29), 0.0);  // fused: 2^-60
}

}  // namespace
