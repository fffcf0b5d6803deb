#include "benchmarks/evaluation.h"

#include <algorithm>

namespace evaluation {
namespace {

constexpr int bins = 64;

double least(const std::vector<double>& values) {
  return *std::min_element(values.begin(), values.end());
}

NmDArray<NmHandle<VlData>> alone(NmHandle<VlData> volume) {
  NmDArray<NmHandle<VlData>> volumes;
  volumes.insert(0, 1, &volume);
  return volumes;
}

}  // namespace

std::unique_ptr<RegMetric> makeMetric(const std::string& family, const headPair::HeadPair& pair) {
  if (family == "difference") return std::make_unique<RegMeanSquaredDifference>(0.0, false);
  if (family == "correlation")
    return std::make_unique<RegCorrelationRatio>(pair.referenceRange.x, pair.referenceRange.y,
                                                 pair.modelRange.x, pair.modelRange.y, 0.0, false);
  return std::make_unique<RegNormMutualInformation>(
      pair.reference->primType(), pair.model->primType(), pair.referenceRange.x,
      pair.referenceRange.y, pair.modelRange.x, pair.modelRange.y, bins, bins, 0.0, false);
}

std::unique_ptr<RegFunctional> makeFunctional(const headPair::HeadPair& pair,
                                              const std::string& family,
                                              RegParametricTransform& transform) {
  NmDArray<NmHandle<VlData>> models = alone(pair.model);
  return std::make_unique<RegFunctional>(alone(pair.reference), models, -1, true, &transform,
                                         makeMetric(family, pair).release(), nullptr, 3, 1);
}

std::unique_ptr<RegAffineTransform> turned(const headPair::HeadPair& pair, double degrees) {
  NmDArray<NmHandle<VlData>> references = alone(pair.reference);
  auto transform = std::make_unique<RegAffineTransform>(references, pair.model, NmMat4f(), 12);
  for (int angle = 3; angle < 6; ++angle) transform->params[angle] = degrees;
  return transform;
}

void reportPerVoxel(benchmark::State& state, const headPair::HeadPair& pair, double voxels) {
  state.counters["per_voxel"] = benchmark::Counter(
      voxels, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.SetLabel(pair.name);
}

void add(const std::string& name, std::function<void(benchmark::State&)> run) {
  benchmark::RegisterBenchmark(name.c_str(), std::move(run))
      ->Unit(benchmark::kMillisecond)
      ->ComputeStatistics("min", least);
}

}  // namespace evaluation
