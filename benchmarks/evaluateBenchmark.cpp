#include <benchmark/benchmark.h>
#include <voxreg.h>

#include <array>
#include <cmath>
#include <memory>
#include <string>

#include "benchmarks/headPair.h"
#include "benchmarks/plainLoop.h"

// One evaluation of the objective function under a matrix of 8 degrees in each angle, for each
// metric family, beside a plain scalar loop that does the same in the same run. Nanoseconds per
// voxel of the reference; `share` is the part of them that has a sample within the model.

namespace {

using headPair::HeadPair;

constexpr double degrees = 8.0;
constexpr int bins = 64;

std::unique_ptr<RegMetric> makeMetric(const std::string& family, const HeadPair& pair) {
  if (family == "difference") return std::make_unique<RegMeanSquaredDifference>(0.0, false);
  if (family == "correlation")
    return std::make_unique<RegCorrelationRatio>(pair.referenceRange.x, pair.referenceRange.y,
                                                 pair.modelRange.x, pair.modelRange.y, 0.0, false);
  return std::make_unique<RegNormMutualInformation>(
      pair.reference->primType(), pair.model->primType(), pair.referenceRange.x,
      pair.referenceRange.y, pair.modelRange.x, pair.modelRange.y, bins, bins, 0.0, false);
}

/// A functional on the pair, and the transform that it evaluates.
struct Turned {
  Turned(const HeadPair& pair, const std::string& family) {
    references.insert(0, 1, &pair.reference);
    models.insert(0, 1, &pair.model);
    transform = std::make_unique<RegAffineTransform>(references, pair.model, NmMat4f(), 12);
    for (int angle = 3; angle < 6; ++angle) transform->params[angle] = degrees;
    functional = std::make_unique<RegFunctional>(references, models, -1, true, transform.get(),
                                                 makeMetric(family, pair).release(), nullptr, 3, 1);
  }

  NmDArray<NmHandle<VlData>> references;
  NmDArray<NmHandle<VlData>> models;
  std::unique_ptr<RegAffineTransform> transform;
  std::unique_ptr<RegFunctional> functional;
};

void report(benchmark::State& state, const HeadPair& pair, double samples) {
  const double voxels = pair.numReferenceVoxels();
  state.counters["per_voxel"] = benchmark::Counter(
      voxels, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.counters["share"] = samples / voxels;
  state.SetLabel(pair.name);
}

void evaluate(benchmark::State& state, const std::string& family) {
  const HeadPair& pair = headPair::get();
  const Turned turned(pair, family);
  for (auto _ : state) benchmark::DoNotOptimize(turned.functional->evaluate());
  report(state, pair, static_cast<double>(turned.functional->metric->numSamples));
}

void plain(benchmark::State& state, const std::string& family) {
  const HeadPair& pair = headPair::get();
  const Turned turned(pair, family);
  turned.functional->evaluate();
  const plainLoop::Walk walk(*turned.functional);
  long samples = 0;
  for (auto _ : state) {
    if (family == "difference") samples = plainLoop::difference(walk, *turned.functional->metric);
    if (family == "correlation") samples = plainLoop::correlation(walk, *turned.functional->metric);
    if (family == "information") samples = plainLoop::information(walk, *turned.functional->metric);
  }
  report(state, pair, static_cast<double>(samples));
}

BENCHMARK_CAPTURE(plain, difference, "difference")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(evaluate, difference, "difference")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(plain, correlation, "correlation")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(evaluate, correlation, "correlation")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(plain, information, "information")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(evaluate, information, "information")->Unit(benchmark::kMillisecond);

}  // namespace
