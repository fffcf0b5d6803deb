#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "variational/fields/localCorrelation.h"

namespace {

using namespace voxreg::detail;

const NmVec3i dims(181, 217, 181);
constexpr std::size_t numVoxels = std::size_t{181} * 217 * 181;

struct Scene {
  std::vector<float> reference = std::vector<float>(numVoxels);
  std::vector<float> warped = std::vector<float>(numVoxels);
  std::vector<unsigned char> body = std::vector<unsigned char>(numVoxels);

  /// An ellipsoid with texture, a third of the volume, and the same with noise.
  Scene() {
    std::mt19937 random(1);
    std::normal_distribution<float> noise(0.0f, 0.05f);
    std::size_t i = 0;
    for (int z = 0; z < dims.z; ++z)
      for (int y = 0; y < dims.y; ++y)
        for (int x = 0; x < dims.x; ++x, ++i) {
          const auto u = static_cast<float>(x) - 90.0f;
          const auto v = static_cast<float>(y) - 108.0f;
          const auto w = static_cast<float>(z) - 90.0f;
          if (std::hypot(u / 75.0f, v / 93.0f, w / 75.0f) > 1.0f) continue;
          body[i] = 1;
          reference[i] = 1.0f + 0.4f * std::sin(0.5f * u) * std::cos(0.4f * v + 0.3f * w);
          warped[i] = 0.8f * reference[i] + noise(random);
        }
  }
};

const Scene& scene() {
  static const Scene once;
  return once;
}

void run(benchmark::State& state, const std::vector<unsigned char>& counts, bool withForce,
         InstructionSet set) {
  const LocalCorrelationKernels* const kernels = localCorrelationKernelsFor(set);
  if (kernels == nullptr) {
    state.SkipWithError("this machine lacks the instruction set");
    return;
  }
  const LocalCorrelation correlation(scene().reference, counts, dims, {}, *kernels);
  VoxelField force;
  for (auto _ : state)
    benchmark::DoNotOptimize(correlation.evaluate(scene().warped, withForce ? &force : nullptr));
  state.counters["per_voxel"] = benchmark::Counter(
      static_cast<double>(numVoxels),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// Arguments: whether with the force, whether only the body counts, the instruction set.
void localCorrelation(benchmark::State& state) {
  run(state, state.range(1) != 0 ? scene().body : std::vector<unsigned char>(), state.range(0) != 0,
      static_cast<InstructionSet>(state.range(2)));
}
BENCHMARK(localCorrelation)
    ->ArgNames({"force", "body", "set"})
    ->ArgsProduct({{0, 1}, {0, 1}, {0, 1, 2}})
    ->Unit(benchmark::kMillisecond);

}  // namespace
