#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include "tests/functional/functionals.h"

namespace {

TEST(ComputeRenumbering, InnerVerticesFirstUnusedOnesLast) {
  const auto functional = makeFunctional({}, {}, nullptr, nullptr);
  NmDArray<unsigned char> unused;
  NmDArray<int> order;
  std::mt19937 random(2);
  for (const NmVec3i& n : {NmVec3i(1, 1, 1), NmVec3i(2, 2, 2), NmVec3i(4, 3, 2)}) {
    const int count = (n.x + 1) * (n.y + 1) * (n.z + 1);
    for (const unsigned one_in : {0u, 3u, 1u}) {
      unused.resize(count);
      for (long v = 0; v < count; ++v) unused[v] = one_in != 0 && random() % one_in == 0 ? 1 : 0;
      const auto rank = [&](int v) {
        const int i = v % (n.x + 1);
        const int j = v / (n.x + 1) % (n.y + 1);
        const int k = v / (n.x + 1) / (n.y + 1);
        if (unused[v] != 0) return 2;
        return std::min({i, n.x - i, j, n.y - j, k, n.z - k}) > 0 ? 0 : 1;
      };
      std::vector<int> expected(static_cast<unsigned long>(count));
      std::iota(expected.begin(), expected.end(), 0);
      std::stable_sort(expected.begin(), expected.end(),
                       [&](int a, int b) { return rank(a) < rank(b); });
      ASSERT_TRUE(functional->computeRenumbering(n, unused, order));
      EXPECT_EQ(std::vector<int>(order.data, order.data + order.size), expected);
    }
    EXPECT_FALSE(functional->computeRenumbering(NmVec3i(n.x, n.y, 7), unused, order));
    EXPECT_FALSE(functional->computeRenumbering(NmVec3i(1 << 30, 1 << 30, 15), unused, order));
    EXPECT_EQ(order.size, count);
  }
}

}  // namespace
