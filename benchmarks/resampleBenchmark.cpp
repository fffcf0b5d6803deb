#include <benchmark/benchmark.h>
#include <voxreg.h>

#include <cmath>

#include "benchmarks/headPair.h"

// Resampling of the reference volume, in nanoseconds per voxel of the result: to half the length of
// each axis, to that length rounded up to an integer (as for the levels of a registration), to one
// and a half times the length, and along one axis alone.

namespace {

using Filter = RegResampler::FilterType;

NmVec3f scaled(const VlData& volume, const NmVec3f& factors) {
  const NmVec3l dims = volume.dims();
  return {static_cast<float>(dims.x) * factors.x, static_cast<float>(dims.y) * factors.y,
          static_cast<float>(dims.z) * factors.z};
}

void resample(benchmark::State& state, Filter filter, const NmVec3f& factors, bool wholeDims) {
  const headPair::HeadPair& pair = headPair::get();
  NmVec3f dims = scaled(*pair.reference, factors);
  if (wholeDims) dims = {std::ceil(dims.x), std::ceil(dims.y), std::ceil(dims.z)};
  NmHandle<VlData> result;
  for (auto _ : state)
    if (!RegResampler().doResample(pair.reference, result, dims, nullptr, {}, filter, 0.0f, 1))
      return state.SkipWithError("the volume could not be resampled");
  const NmVec3l size = result->dims();
  state.counters["per_voxel"] = benchmark::Counter(
      static_cast<double>(size.x) * static_cast<double>(size.y) * static_cast<double>(size.z),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.SetLabel(pair.name);
}

void registerFilter(const std::string& name, Filter filter) {
  const auto add = [&](const char* what, const NmVec3f& factors, bool wholeDims) {
    benchmark::RegisterBenchmark(
        ("resample/" + name + "/" + what).c_str(),
        [=](benchmark::State& state) { resample(state, filter, factors, wholeDims); })
        ->Unit(benchmark::kMillisecond);
  };
  add("halving", {0.5f, 0.5f, 0.5f}, false);
  add("level", {0.5f, 0.5f, 0.5f}, true);
  add("enlarging", {1.5f, 1.5f, 1.5f}, false);
  add("x", {0.5f, 1.0f, 1.0f}, true);
  add("y", {1.0f, 0.5f, 1.0f}, true);
  add("z", {1.0f, 1.0f, 0.5f}, true);
}

[[maybe_unused]] const bool isRegistered = [] {
  registerFilter("Box", RegResampler::Box);
  registerFilter("Bell", RegResampler::Bell);
  registerFilter("Lanczos3", RegResampler::Lanczos3);
  return true;
}();

}  // namespace
