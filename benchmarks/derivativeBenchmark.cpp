#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "benchmarks/evaluation.h"
#include "foundation/voxels/voxelTypes.h"
#include "variational/objective/bendingEnergy.h"
#include "variational/objective/mappedMetric.h"
#include "variational/objective/tensorTables.h"
#include "variational/pyramid/body.h"
#include "variational/pyramid/cubicDoubling.h"

// Metrics of a mapped model with their derivatives by the map's controls, on the finest level of
// a search: `derivative` is value and gradient together, `value` the value alone, both in
// nanoseconds per voxel of the reference, masked or not. `warped` reads a doubled model of
// floats, `heads` the model itself. Maps are a matrix and lattices of so many intervals on each
// axis; `set` is one of them on each instruction set of the machine. `bending` is the energy of a
// lattice with its gradient, in nanoseconds per control.

namespace {

using namespace voxreg::detail;
using headPair::HeadPair;
using voxreg::ControlLattice;

/// The voxels of a volume, locked.
struct Voxels {
  NmHandle<VlDataAccess> access;
  SearchVolume volume;

  explicit Voxels(const NmHandle<VlData>& data)
      : access(data->lock(false)), volume{access->dataPtr(0), 0, VolumeFrame(*data)} {
    withVoxelType(data->primType(), [&]<class T>() { volume.type = voxelTypeIndex<T>; });
  }
};

/// The two volumes as the finest level of a search compares them.
struct Level {
  const HeadPair& pair;
  LevelVolume reference;
  Voxels model;
  LevelVolume doubled;  ///< the model, if it is
  std::vector<IndexSpan> rows;
  double share;  ///< of the reference's voxels that count

  Level(const HeadPair& heads, bool isDoubled, bool isMasked)
      : pair(heads),
        reference(reducedVolume(Voxels(heads.reference).volume, {1, 1, 1})),
        model(heads.model),
        doubled{{}, model.volume.frame} {
    if (isDoubled) doubled = doubledVolume(reducedVolume(model.volume, {1, 1, 1}));
    if (isMasked) skipFarFromBody(bodyThreshold(reference.voxels), reference);
    rows = countingSpans(reference);
    double counting = 0.0;
    for (const float value : reference.voxels) counting += std::isfinite(value) ? 1.0 : 0.0;
    share = counting / pair.numReferenceVoxels();
  }

  MappedMetric::Volume modelVolume() const {
    if (doubled.voxels.empty()) return {model.volume.voxels, model.volume.type, model.volume.frame};
    return {doubled.voxels.data(), voxelTypeIndex<float>, doubled.frame};
  }

  MappedMetric metric(RegMetricKind kind, const DerivativeKernels& kernels) const {
    constexpr int bins = 64;
    const auto range = [](const NmVec2f& values) {
      return BinRange{static_cast<double>(values.x), static_cast<double>(values.y), bins};
    };
    MappedMetric result(kind, {reference.voxels.data(), voxelTypeIndex<float>, reference.frame},
                        modelVolume(), range(pair.referenceRange), range(pair.modelRange), kernels);
    result.setRows(rows);
    return result;
  }
};

const Level& levelOf(const std::string& name, bool isMasked) {
  static std::map<std::pair<std::string, bool>, std::unique_ptr<Level>> levels;
  auto& level = levels[{name, isMasked}];
  const bool isWarped = name == "warped";
  if (level == nullptr)
    level = std::make_unique<Level>(isWarped ? headPair::warped() : headPair::get(), isWarped,
                                    isMasked);
  return *level;
}

/// Some millimetres of smooth displacement.
ControlLattice wavyLattice(const NmBox3f& box, int intervals) {
  ControlLattice lattice(box, {intervals, intervals, intervals});
  for (std::size_t i = 0; i < lattice.values.size(); ++i)
    lattice.values[i] = 3.0 * std::sin(0.37 * static_cast<double>(i));
  return lattice;
}

/// A turn by some degrees about z, with a lattice of so many intervals on top of it, or none.
std::unique_ptr<TensorTables> tablesOf(const Level& level, int intervals) {
  NmMat4d matrix;
  matrix.m[0][0] = matrix.m[1][1] = std::cos(0.1);
  matrix.m[0][1] = std::sin(0.1);
  matrix.m[1][0] = -std::sin(0.1);
  const VolumeFrame& frame = level.reference.frame;
  const VolumeFrame& model = level.doubled.frame;
  matrix.m[3][2] = static_cast<double>(model.centre().z - frame.centre().z);
  if (intervals == 0) {
    auto tables = std::make_unique<TensorTables>(frame);
    tables->setMatrix(matrix, model);
    return tables;
  }
  const ControlLattice lattice = wavyLattice(frame.box, intervals);
  auto tables = std::make_unique<TensorTables>(frame, lattice);
  tables->setLattice(matrix, lattice, model);
  return tables;
}

struct Case {
  std::string pair;
  std::string family;
  int intervals;  ///< 0: a matrix
  bool isMasked;
};

RegMetricKind kindOf(const std::string& family) {
  if (family == "difference") return RegMetricMeanSquaredDifference;
  if (family == "correlation") return RegMetricCorrelationRatio;
  return RegMetricNormMutualInformation;
}

void evaluate(benchmark::State& state, const Case& c, const DerivativeKernels& kernels,
              bool withGradient) {
  const Level& level = levelOf(c.pair, c.isMasked);
  MappedMetric metric = level.metric(kindOf(c.family), kernels);
  const auto tables = tablesOf(level, c.intervals);
  std::vector<double> gradient(static_cast<std::size_t>(3 * tables->controlCount()));
  for (auto _ : state)
    benchmark::DoNotOptimize(
        metric.evaluate(tables->map(), withGradient ? gradient.data() : nullptr));
  evaluation::reportPerVoxel(state, level.pair, level.pair.numReferenceVoxels());
  state.counters["share"] = level.share;
}

void bending(benchmark::State& state, int intervals) {
  const ControlLattice lattice = wavyLattice({0, 180, 0, 220, 0, 180}, intervals);
  BendingEnergy energy(lattice);
  std::vector<double> gradient(lattice.values.size());
  for (auto _ : state)
    benchmark::DoNotOptimize(energy.evaluate(lattice.values, 1.0, gradient.data()));
  state.counters["per_control"] = benchmark::Counter(
      static_cast<double>(lattice.controlCount()),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void addMaps(const std::string& pair, const std::string& family) {
  for (const int intervals : {0, 4, 12, 32})
    for (const bool isMasked : {true, false}) {
      const Case c = {pair, family, intervals, isMasked};
      const std::string name =
          "/" + pair + "/" + family +
          (intervals == 0 ? std::string("/matrix") : "/lattice" + std::to_string(intervals)) +
          (isMasked ? "/masked" : "/all");
      evaluation::add("derivative" + name, [=](benchmark::State& state) {
        evaluate(state, c, derivativeKernels(), true);
      });
      evaluation::add("value" + name, [=](benchmark::State& state) {
        evaluate(state, c, derivativeKernels(), false);
      });
    }
}

[[maybe_unused]] const bool isRegistered = [] {
  constexpr const char* setNames[] = {"portable", "avx2", "avx512"};
  for (const std::string pair : {"warped", "heads"})
    for (const std::string family : evaluation::families) {
      addMaps(pair, family);
      for (const auto set : instructionSets)
        if (const auto* const kernels = derivativesFor(set))
          evaluation::add(
              "derivative/" + pair + "/" + family + "/set/" + setNames[static_cast<int>(set)],
              [=](benchmark::State& state) {
                evaluate(state, {pair, family, 12, true}, *kernels, true);
              });
    }
  for (const int intervals : {4, 12, 32})
    evaluation::add("bending/lattice" + std::to_string(intervals),
                    [=](benchmark::State& state) { bending(state, intervals); });
  return true;
}();

}  // namespace
