#pragma once

#include <benchmark/benchmark.h>
#include <voxreg.h>

#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/headPair.h"

/// Code shared by the benchmarks of the objective function.
namespace evaluation {

inline constexpr const char* families[] = {"difference", "correlation", "information"};

/// A metric of a family over the full ranges of a pair, with 64 bins per axis if it has bins.
std::unique_ptr<RegMetric> makeMetric(const std::string& family, const headPair::HeadPair& pair);

/// A functional on a pair that evaluates `transform`.
std::unique_ptr<RegFunctional> makeFunctional(const headPair::HeadPair& pair,
                                              const std::string& family,
                                              RegParametricTransform& transform);

/// The pair's affine transform, rotated by `degrees` about each axis.
std::unique_ptr<RegAffineTransform> turned(const headPair::HeadPair& pair, double degrees);

/// Processor seconds of the fastest of some runs.
template <class Run>
double fastest(int runs, Run run) {
  std::clock_t least = 0;
  for (int i = 0; i < runs; ++i) {
    const std::clock_t start = std::clock();
    run();
    const std::clock_t taken = std::clock() - start;
    if (i == 0 || taken < least) least = taken;
  }
  return static_cast<double>(least) / CLOCKS_PER_SEC;
}

/// `per_voxel`: the time of one iteration divided by `voxels`.
void reportPerVoxel(benchmark::State& state, const headPair::HeadPair& pair, double voxels);

/// Registers a benchmark that reports milliseconds, and their minimum over repetitions.
void add(const std::string& name, std::function<void(benchmark::State&)> run);

}  // namespace evaluation
