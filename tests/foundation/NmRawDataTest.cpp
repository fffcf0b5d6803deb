#include "foundation/NmRawData.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "tests/support/LogCapture.h"
#include "tests/support/voxelTypes.h"

namespace {

template <class T>
std::vector<T> naiveDownSample(const std::vector<T>& source, const long (&n)[3],
                               const std::vector<int>& f) {
  std::vector<T> result;
  for (long z = 0; z < n[2]; z += f[2])
    for (long y = 0; y < n[1]; y += f[1])
      for (long x = 0; x < n[0]; x += f[0]) {
        double sum = 0.0;
        int count = 0;
        for (long k = z; k < std::min(z + f[2], n[2]); ++k)
          for (long j = y; j < std::min(y + f[1], n[1]); ++j)
            for (long i = x; i < std::min(x + f[0], n[0]); ++i, ++count)
              sum +=
                  static_cast<double>(source[static_cast<std::size_t>(i + n[0] * (j + n[1] * k))]);
        const double mean = sum / count;
        result.push_back(static_cast<T>(std::is_integral_v<T> ? std::nearbyint(mean) : mean));
      }
  return result;
}

template <class T>
void compare(double low, double high) {
  constexpr int type = voxelTypeNumber<T>;
  // Cells of few voxels, runs of many cells, and cells of more voxels than small sums hold.
  const struct {
    long dims[3];
    std::vector<std::vector<int>> factors;
  } shapes[] = {{{7, 6, 5}, {{1, 1, 1}, {2, 2, 2}, {3, 1, 2}, {4, 5, 3}, {100, 100, 100}}},
                {{1403, 2, 1}, {{2, 2, 1}, {2, 1, 1}, {10, 1, 1}, {700, 2, 1}}},
                {{1, 300, 200}, {{1, 300, 200}}}};
  std::mt19937 random(5);
  std::uniform_real_distribution<double> value(low, high);
  for (const auto& [n, factors] : shapes) {
    std::vector<T> source(static_cast<std::size_t>(n[0] * n[1] * n[2]));
    for (T& voxel : source) voxel = static_cast<T>(value(random));
    // Halves of both signs, which tie.
    for (int i = 0; i < 8; ++i)
      source[static_cast<std::size_t>(i)] = static_cast<T>(i / 2 + i % 2 - 2);
    for (const std::vector<int>& f : factors) {
      const std::vector<T> expected = naiveDownSample(source, n, f);
      std::vector<T> result(expected.size());
      NmRawData::downSample3D(result.data(), {source.data(), type},
                              static_cast<unsigned long>(n[0]), static_cast<unsigned long>(n[1]),
                              static_cast<unsigned long>(n[2]), f[0], f[1], f[2], nullptr);
      EXPECT_EQ(result, expected) << "type " << type << " by " << f[0] << f[1] << f[2];
    }
  }
}

TEST(NmRawData, AveragesCellsOfEveryType) {
  forEachVoxelType([]<class T>() {
    const auto high = static_cast<double>(std::numeric_limits<T>::max());
    if constexpr (std::is_integral_v<T>)  // sums of unsigned voxels shall leave the range of int
      compare<T>(std::is_signed_v<T> ? -high - 1.0 : 0.45 * high, high);
    else
      compare<T>(-1.0, sizeof(T) == 4 ? 1.0 : 1.0e300);
  });
}

TEST(NmRawData, RefusesWhatItDoesNotServe) {
  LogCapture log;
  unsigned char voxels[] = {10};
  unsigned char result[] = {1};
  const auto refused = [&](void* to, void* from, int type, int factor) {
    NmRawData::downSample3D(to, {from, type}, 1, 1, 1, 1, factor, 1, nullptr);
    EXPECT_EQ(log.error().rfind("downSample3D:", 0), 0U);
  };
  refused(result, voxels, 8, 1);
  refused(result, voxels, 0, 0);
  refused(nullptr, voxels, 0, 1);
  refused(result, nullptr, 0, 1);
  EXPECT_EQ(result[0], 1);
}

}  // namespace
