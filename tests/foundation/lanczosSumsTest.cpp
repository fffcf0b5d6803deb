#include "foundation/sampling/lanczosSums.h"

#include <bit>
#include <cmath>
#include <random>
#include <vector>

#include "foundation/sampling/axisTaps.h"
#include "tests/support/voxelTypes.h"

namespace {

using voxreg::detail::AxisTaps;
using voxreg::detail::LanczosPoints;
using Dims = long[3];

template <class T>
double sumOverTaps(const std::vector<T>& voxels, const Dims& dims, const double (&position)[3]) {
  AxisTaps taps[3];
  for (int axis = 0; axis < 3; ++axis)
    voxreg::detail::lanczosTaps(position[axis], dims[axis], taps[axis]);
  const auto& [x, y, z] = taps;
  double sum = 0.0;
  for (int k = 0; k < z.count; ++k)
    for (int j = 0; j < y.count; ++j) {
      double line = 0.0;
      for (int i = 0; i < x.count; ++i) {
        const long index = x.index[i] + dims[0] * (y.index[j] + dims[1] * z.index[k]);
        line += x.weight[i] * static_cast<double>(voxels[static_cast<std::size_t>(index)]);
      }
      sum += z.weight[k] * y.weight[j] * line;
    }
  return sum;
}

template <class T>
void compareWithTaps(voxreg::detail::InstructionSet set, const Dims& dims) {
  constexpr int type = voxelTypeNumber<T>;
  std::mt19937 random(3);
  std::vector<T> voxels(static_cast<std::size_t>(dims[0] * dims[1] * dims[2]));
  for (T& voxel : voxels) voxel = static_cast<T>(random());
  const auto sum = voxreg::detail::lanczosSum({{dims[0], dims[1], dims[2]}, 1, type}, set);
  for (unsigned seed = 0; seed < 12; ++seed) {
    // Points that creep or leap, turn back at the ends and rest on voxels.
    std::uniform_real_distribution<double> share(0.0, 1.0);
    double start[3], step[3];
    for (int axis = 0; axis < 3; ++axis) {
      start[axis] = share(random);
      step[axis] = share(random) * (seed % 3 == 0 ? 1.0 : 0.02);
    }
    LanczosPoints points(dims);
    std::vector<double> expected;
    const int most = LanczosPoints::most - static_cast<int>(seed);
    for (int i = 0; points.count < most && i < 2 * most; ++i) {
      double position[3];
      for (int axis = 0; axis < 3; ++axis) {
        const double t = std::fmod(start[axis] + i * step[axis], 2.0);
        const double place = (t > 1.0 ? 2.0 - t : t) * static_cast<double>(dims[axis] - 1);
        position[axis] = random() % 8 == 0 ? std::floor(place) : place;
      }
      if (points.add(position)) expected.push_back(sumOverTaps(voxels, dims, position));
    }
    if (expected.empty()) continue;
    points.complete();
    double sums[LanczosPoints::most];
    sum(voxels.data(), points, sums);
    for (std::size_t i = 0; i < expected.size(); ++i)
      ASSERT_EQ(std::bit_cast<long>(sums[i]), std::bit_cast<long>(expected[i]))
          << static_cast<int>(set) << " " << type << " " << dims[0] << " " << i;
  }
}

TEST(LanczosSums, GiveTheBitsOfTheTapsOnEveryInstructionSet) {
  const Dims shapes[] = {{1, 1, 2}, {2, 3, 1}, {3, 1, 4}, {6, 7, 5}, {200, 9, 11}, {50, 40, 1}};
  for (const auto set : voxreg::detail::instructionSets) {
    if (!voxreg::detail::hasInstructionSet(set)) continue;
    for (const Dims& dims : shapes)
      forEachVoxelType([&]<class T>() { compareWithTaps<T>(set, dims); });
  }
}

}  // namespace
