#include <cmath>

#include "tests/workflow/rows.h"

namespace {

using voxreg::Image;
using voxreg::Interpolation;

/// A row of voxels as it comes out where the reference's places go to places `shift` further along
/// x.
template <class T>
std::vector<T> moved(const std::vector<T>& row, double shift,
                     const voxreg::ResampleOptions& options = {}) {
  NmMat4d matrix;
  matrix.setTranslate(NmVec3d(shift, 0, 0));
  const auto transform = voxreg::Transform::fromReferenceToModel(matrix);
  return voxelsIn<T>(voxreg::resample(rowOf(row), transform, rowOf(row), options));
}

TEST(Resample, passesValuesExactlyWhereNothingIsInterpolated) {
  const std::vector<int> large = {2147483647, -2147483647 - 1, 16777217, -16777219, 0, 1, 7};
  const std::vector<double> fine = {0.1, -1e300, 1.0 / 3.0, 16777217.25, 5e-324, 0.0, 2.0};
  for (const auto how : {Interpolation::nearest, Interpolation::linear, Interpolation::cubic,
                         Interpolation::lanczos})
    for (const double shift : {0.0, -0.0005}) {  // up to rounding
      EXPECT_EQ(moved(large, shift, {how, {}}), large);
      EXPECT_EQ(moved(fine, shift, {how, {}}), fine);
    }
  EXPECT_EQ(moved(large, -0.7, {Interpolation::nearest, {}}),
            (std::vector<int>{0, 2147483647, -2147483647 - 1, 16777217, -16777219, 0, 1}));
}

TEST(Resample, roundsIntegersAndSaturates) {
  using Row = std::vector<unsigned char>;
  const Row edge = {0, 0, 0, 255, 255, 255};
  EXPECT_EQ(moved(edge, -0.2, {Interpolation::linear, 9.0}), (Row{9, 0, 0, 204, 255, 255}));
  // The cubic goes below 0 in front of the edge and above 255 behind it.
  EXPECT_EQ(moved(edge, -0.5, {Interpolation::cubic, 9.0}), (Row{9, 0, 0, 128, 255, 255}));
}

TEST(Resample, takesTheBackgroundThatSuitsThePurposeOrIsAskedFor) {
  const std::vector<short> row = {-1000, 40, 50, 60};
  EXPECT_EQ(moved(row, 1, {Interpolation::lanczos, 5.0}), (std::vector<short>{40, 50, 60, 5}));
  EXPECT_EQ(moved(row, 1, {Interpolation::linear, {}}).back(), -1000);
  EXPECT_EQ(moved(row, 1, {Interpolation::nearest, {}}).back(), 0);
  EXPECT_EQ(moved<float>({NAN, 3.0f, -2.0f, INFINITY}, -1).front(), -2.0f);
  for (const double impossible : {0.5, 40000.0, static_cast<double>(NAN)})
    EXPECT_TRUE(moved(row, 1, {Interpolation::linear, impossible}).empty()) << impossible;
}

TEST(Resample, findsTheVoxelsHoweverTheAxesLie) {
  const std::vector<short> voxels = {1, 2, 3, 4, 5, 6};  // 3 along x, 2 along y
  const Image straight = Image::copy(voxels.data(), {3, 2, 1}, NmMat4d());
  // The same in a file whose i runs along y, j along -z and k against x.
  const std::vector<short> turned = {3, 6, 2, 5, 1, 4};
  const Image model = Image::copy(turned.data(), {2, 1, 3},
                                  NmMat4d(0, 1, 0, 0, 0, 0, -1, 0, -1, 0, 0, 0, 2, 0, 0, 1));
  EXPECT_EQ(voxelsIn<short>(voxreg::resample(model, {}, straight)), voxels);
  EXPECT_EQ(voxelsIn<short>(voxreg::resample(straight, {}, model)), turned);
  EXPECT_FALSE(voxreg::resample(Image(), {}, straight));
  EXPECT_FALSE(voxreg::resample(straight, {}, Image()));
}

}  // namespace
