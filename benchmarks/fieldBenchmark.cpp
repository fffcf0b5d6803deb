#include <benchmark/benchmark.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "benchmarks/evaluation.h"
#include "variational/fields/fieldComposition.h"
#include "variational/fields/fieldDeterminants.h"
#include "variational/fields/fieldInverse.h"
#include "variational/fields/fieldRepair.h"
#include "variational/fields/fieldSmoothing.h"
#include "variational/fields/fieldUpsampling.h"
#include "variational/fields/fieldWarp.h"

// Operations on dense fields, in nanoseconds per voxel (of the finer grid): smooth noise of up to
// 15 voxels, repaired, and an update of at most one voxel. `field/OPERATION/SET` on each
// instruction set of the machine.

namespace {

using namespace voxreg::detail;

const NmVec3i dims(173, 203, 162);

VoxelField noise(float amount, double sigma, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> value(-amount, amount);
  VoxelField field = {dims, {}};
  for (auto& component : field.along) {
    component.resize(static_cast<std::size_t>(dims.x) * static_cast<std::size_t>(dims.y * dims.z));
    for (float& v : component) v = value(random);
  }
  smooth(field, sigma);
  return field;
}

const VoxelField& folded() {
  static const VoxelField field = noise(60.0f, 4.0, 1);
  return field;
}

const VoxelField& repaired() {
  static const VoxelField field = [] {
    VoxelField made = folded();
    repair(made, 0.03, 200);
    return made;
  }();
  return field;
}

const VoxelField& update() {
  static const VoxelField field = noise(3.0f, 1.7, 2);
  return field;
}

/// Runs on a copy, which is made once.
void add(const std::string& name, const std::function<void(VoxelField&)>& run) {
  evaluation::add("field/" + name, [=](benchmark::State& state) {
    VoxelField field = repaired();
    run(field);
    for (auto _ : state) run(field);
    state.counters["per_voxel"] = benchmark::Counter(
        static_cast<double>(field.along[0].size()),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  });
}

void addAll(const std::string& set, const FieldKernels& kernels) {
  for (const char* const sigma : {"1.7", "0.5"})
    add("smooth" + std::string(sigma) + "/" + set,
        [&, sigma](VoxelField& field) { smooth(field, std::stod(sigma), kernels); });
  add("warp/" + set, [&](VoxelField& field) {
    static std::vector<float> warped;
    warp(update().along[0], field, warped, kernels);
  });
  add("compose/" + set, [&](VoxelField& field) { compose(update(), field, kernels); });
  add("determinants/" + set,
      [&](VoxelField& field) { benchmark::DoNotOptimize(smallestDeterminant(field, kernels)); });
  add("inverse/" + set,
      [&](VoxelField& field) { benchmark::DoNotOptimize(inverse(field, kernels).largestError); });
}

[[maybe_unused]] const bool isRegistered = [] {
  constexpr const char* setNames[] = {"portable", "avx2", "avx512"};
  for (const auto set : instructionSets)
    if (const auto* const kernels = fieldKernelsFor(set))
      addAll(setNames[static_cast<int>(set)], *kernels);
  add("repair", [](VoxelField& field) {
    field = folded();
    benchmark::DoNotOptimize(repair(field, 0.03, 200).rounds);
  });
  const NmBox3f box(0, 172, 0, 202, 0, 161);
  const VolumeFrame fine(dims, box);
  const VolumeFrame coarse({87, 102, 81}, box);
  add("upsampled", [=, half = VoxelField()](VoxelField& field) mutable {
    if (half.along[0].empty()) half = upsampled(field, fine, coarse);
    benchmark::DoNotOptimize(upsampled(half, coarse, fine).along[0].data());
  });
  return true;
}();

}  // namespace
