
#include <cmath>
#include <numeric>

#include "tests/workflow/rows.h"
#include "workflow/sampling/taps.h"

namespace {

using voxreg::Interpolation;
using voxreg::detail::Taps;

double valueAt(Interpolation how, double place, const std::vector<double>& values) {
  const Taps taps = voxreg::detail::tapsFor(how, place, static_cast<long>(values.size()));
  double sum = 0.0;
  for (int i = 0; i < taps.count; ++i)
    sum += taps.share[i] * values.at(static_cast<std::size_t>(taps.first + i));
  return sum;
}

TEST(Interpolation, givesAVoxelItsOwnValueAndAConstantEverywhere) {
  const std::vector<double> values = {7, -3, 11, 2, 5, 8};
  const std::vector<double> constant(6, 4.0);
  for (const Interpolation how : {Interpolation::nearest, Interpolation::linear,
                                  Interpolation::cubic, Interpolation::lanczos}) {
    for (std::size_t i = 0; i < values.size(); ++i)
      EXPECT_EQ(valueAt(how, static_cast<double>(i), values), values[i]);
    for (const double place : {0.01, 0.5, 1.3, 2.5, 3.9, 4.99})
      EXPECT_NEAR(valueAt(how, place, constant), 4.0, 1e-12);
  }
}

TEST(Interpolation, reproducesWhatItsOrderPromises) {
  std::vector<double> line(8), parabola(8);
  std::iota(line.begin(), line.end(), 0.0);
  for (std::size_t i = 0; i < 8; ++i) parabola[i] = line[i] * line[i] - 3.0 * line[i];
  for (const double place : {2.1, 3.5, 4.75}) {
    EXPECT_NEAR(valueAt(Interpolation::linear, place, line), place, 1e-12);
    EXPECT_NEAR(valueAt(Interpolation::cubic, place, parabola), place * place - 3.0 * place, 1e-12);
  }
}

TEST(Interpolation, takesTheLowerOfTwoVoxelsThatAreEquallyNear) {
  const std::vector<double> values = {1, 2, 3};
  const std::pair<double, double> cases[] = {{0.4, 1}, {0.5, 1}, {0.5 + 1e-6, 1}, {0.51, 2},
                                             {1.5, 2}, {1.9, 3}, {2.0, 3}};
  for (const auto& [place, expected] : cases)
    EXPECT_EQ(valueAt(Interpolation::nearest, place, values), expected) << place;
}

TEST(Interpolation, byLanczosIsThatOfTheLibrary) {
  std::vector<double> values;
  std::vector<float> row;
  for (int i = 0; i < 9; ++i) values.push_back(100.0 * std::sin(i * i));
  for (const double value : values) row.push_back(static_cast<float>(value));
  const voxreg::Image volume = rowOf(row);
  const NmHandle<VlEvaluator> library = volume.volume()->createEvaluatorLanczos();
  for (float place = 0.0f; place < 8.0f; place += 0.13f) {
    float expected = 0.0f;
    ASSERT_TRUE(library->setLocation(NmVec3f(place, 0, 0)));
    library->value(&expected);
    EXPECT_NEAR(valueAt(Interpolation::lanczos, static_cast<double>(place), values),
                static_cast<double>(expected), 1e-4)
        << place;
  }
}

}  // namespace
