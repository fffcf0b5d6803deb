#include "foundation/voxelLines.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using voxreg::detail::toVoxel;

/// Values about every limit and half, the infinities and NaN.
std::vector<float> awkwardValues() {
  std::vector<float> values;
  for (const float centre : {0.0f, 127.0f, 255.0f, 32767.0f, -32768.0f, 65535.0f, 2147483648.0f})
    for (int i = -8; i <= 8; ++i) values.push_back(centre + static_cast<float>(i) * 0.25f);
  for (const float v :
       {0.5f, 8388607.5f, 12582912.0f, 1e30f, std::numeric_limits<float>::infinity(),
        std::numeric_limits<float>::denorm_min()}) {
    values.push_back(v);
    values.push_back(-v);
    values.push_back(std::nextafter(v, 0.0f));
  }
  values.push_back(std::numeric_limits<float>::quiet_NaN());
  values.push_back(-std::numeric_limits<float>::quiet_NaN());
  return values;
}

template <class T>
void expectRoundedAsDoubles() {
  const std::vector<float> values = awkwardValues();
  std::vector<T> line(values.size());
  voxreg::detail::writeVoxels(line.data(), static_cast<long>(line.size()), values.data());
  for (std::size_t i = 0; i < values.size(); ++i) {
    const T expected = toVoxel<T>(static_cast<double>(values[i]));
    EXPECT_EQ(line[i], expected) << values[i];
    T alone;
    voxreg::detail::writeVoxels(&alone, 1, &values[i]);
    EXPECT_EQ(alone, expected) << values[i];
  }
}

TEST(WriteVoxels, RoundsSinglePrecisionAsItDoesDoubles) {
  expectRoundedAsDoubles<unsigned char>();
  expectRoundedAsDoubles<short>();
  expectRoundedAsDoubles<unsigned short>();
  expectRoundedAsDoubles<int>();
}

}  // namespace
