#include <algorithm>
#include <memory>
#include <string>

#include "benchmarks/evaluation.h"
#include "benchmarks/plainLoop.h"
#include "functional/families/metricFamily.h"

// One evaluation of the objective function under a matrix of 8 degrees in each angle, for each
// metric family, next to a plain scalar loop that does the same in the same run. Nanoseconds per
// voxel of the reference; `share` is the share of voxels that have a sample in the model. `kernel`
// is the walk alone on each instruction set of the machine. `growth` compares with a pair of half
// as many voxels on each axis: `ratio` is the ratio of the evaluation times, `voxels` that of the
// numbers of reference voxels.

namespace {

using headPair::HeadPair;

constexpr double degrees = 8.0;
/// A functional on the pair, and the transform that it evaluates.
struct Turned {
  Turned(const HeadPair& pair, const std::string& family)
      : transform(evaluation::turned(pair, degrees)),
        functional(evaluation::makeFunctional(pair, family, *transform)) {}

  std::unique_ptr<RegAffineTransform> transform;
  std::unique_ptr<RegFunctional> functional;
};

void report(benchmark::State& state, const HeadPair& pair, double samples) {
  evaluation::reportPerVoxel(state, pair, pair.numReferenceVoxels());
  state.counters["share"] = samples / pair.numReferenceVoxels();
}

void evaluate(benchmark::State& state, const std::string& family) {
  const HeadPair& pair = headPair::get();
  const Turned turned(pair, family);
  for (auto _ : state) benchmark::DoNotOptimize(turned.functional->evaluate());
  report(state, pair, static_cast<double>(turned.functional->metric->numSamples));
}

void growth(benchmark::State& state, const std::string& family, float factor) {
  const HeadPair small = headPair::scaled(headPair::get(), 0.5f * factor);
  const HeadPair large = headPair::scaled(headPair::get(), factor);
  const Turned inSmall(small, family);
  const Turned inLarge(large, family);
  const auto secondsOf = [](const Turned& turned, int runs) {
    return evaluation::fastest(runs, [&] { turned.functional->evaluate(); });
  };
  double seconds[2] = {1.0e9, 1.0e9};
  for (auto _ : state) {
    seconds[0] = std::min(seconds[0], secondsOf(inSmall, 40));
    seconds[1] = std::min(seconds[1], secondsOf(inLarge, 5));
  }
  state.counters["ratio"] = seconds[1] / seconds[0];
  state.counters["voxels"] = large.numReferenceVoxels() / small.numReferenceVoxels();
  state.SetLabel(large.name);
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

void kernel(benchmark::State& state, const std::string& family,
            const voxreg::detail::KernelTable& table) {
  const HeadPair& pair = headPair::get();
  const Turned turned(pair, family);
  turned.functional->evaluate();
  const plainLoop::Walk walk(*turned.functional);
  voxreg::detail::WalkFrame frame = {};
  frame.reference = walk.reference;
  frame.referenceType = voxreg::detail::voxelTypeIndex<short>;
  frame.box = NmBox3i(0, walk.dims[0] - 1, 0, walk.dims[1] - 1, 0, walk.dims[2] - 1);
  frame.model = walk.model;
  frame.modelType = voxreg::detail::voxelTypeIndex<unsigned char>;
  for (int axis = 0; axis < 3; ++axis) {
    frame.referenceDims[axis] = walk.dims[axis];
    frame.modelDims[axis] = walk.modelDims[axis];
    frame.start[axis] = walk.start[axis];
    for (int k = 0; k < 3; ++k) frame.step[k][axis] = walk.step[k][axis];
    frame.signs[axis] = walk.step[0][axis] > 0.0 ? 1 : -1;
    frame.bounds[axis][0] = -0.5;
    frame.bounds[axis][1] = walk.modelDims[axis] - 0.5;
  }
  RegMetric* const metric = turned.functional->metric;
  const auto* const rows = voxreg::detail::familyOf(metric);
  for (auto _ : state) {
    metric->reset();
    rows->walkAffine(frame, *metric, 1, table);
  }
  report(state, pair, static_cast<double>(metric->numSamples));
}

[[maybe_unused]] const bool isRegistered = [] {
  for (const std::string name : evaluation::families) {
    evaluation::add("plain/" + name, [=](benchmark::State& state) { plain(state, name); });
    evaluation::add("evaluate/" + name, [=](benchmark::State& state) { evaluate(state, name); });
    evaluation::add("growth/" + name + "/to_full",
                    [=](benchmark::State& state) { growth(state, name, 1.0f); });
    evaluation::add("growth/" + name + "/to_double",
                    [=](benchmark::State& state) { growth(state, name, 2.0f); });
    constexpr const char* setNames[] = {"portable", "avx2", "avx512"};
    for (const auto set : voxreg::detail::instructionSets)
      if (const auto* const table = voxreg::detail::kernelsFor(set))
        evaluation::add("kernel/" + name + "/" + setNames[static_cast<int>(set)],
                        [=](benchmark::State& state) { kernel(state, name, *table); });
  }
  return true;
}();

}  // namespace
