#include <benchmark/benchmark.h>

#include <random>

#include "transforms/RegNonAffineTransform.h"

namespace {

/// The identity on a grid of n bricks per axis, 3 units each, with vertices displaced at random by
/// up to `percent` of a brick.
RegNonAffineTransform displacedGrid(int n, double percent) {
  const auto end = static_cast<float>(3 * n);
  RegNonAffineTransform grid({NmBox3f(0, end, 0, end, 0, end), {}, {}}, NmVec3i(n, n, n));
  std::mt19937 random(1);
  std::uniform_real_distribution<double> move(-0.03 * percent, 0.03 * percent);
  for (long i = 0; i < grid.params.size; ++i) grid.params[i] += move(random);
  grid.apply();
  return grid;
}

/// Arguments: bricks per axis, displacement in percent (100 folds many bricks), vertex.
void jacobianAnalysis(benchmark::State& state) {
  const RegNonAffineTransform grid =
      displacedGrid(static_cast<int>(state.range(0)), static_cast<double>(state.range(1)));
  NmDArray<double> jacobian;
  NmDArray<double> stretch;
  NmDArray<double> shear;
  for (auto _ : state)
    benchmark::DoNotOptimize(grid.computeJacobiTransforms(static_cast<int>(state.range(2)), 1,
                                                          jacobian, nullptr, nullptr, &stretch,
                                                          &shear, nullptr));
  state.counters["per_brick"] = benchmark::Counter(
      static_cast<double>(jacobian.size),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(jacobianAnalysis)
    ->ArgNames({"bricks", "percent", "vertex"})
    ->Args({32, 10, -1})
    ->Args({32, 100, -1})
    ->Args({8, 10, -1})
    ->Args({8, 10, 370})
    ->Unit(benchmark::kMicrosecond);

}  // namespace
