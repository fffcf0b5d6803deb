#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/variational/mappedScene.h"

namespace {

using namespace mappedScene;

void addResult(MappedMetric& metric, const TensorMap& map, std::int64_t controlCount,
               std::vector<double>& results) {
  std::vector<double> gradient(static_cast<std::size_t>(3 * controlCount));
  results.push_back(metric.evaluate(map, nullptr));
  results.push_back(metric.evaluate(map, gradient.data()));
  results.push_back(metric.numSamples());
  results.insert(results.end(), gradient.begin(), gradient.end());
}

/// Values and gradients by a matrix, a lattice and a field.
template <class S>
std::vector<double> resultsOf(const S& scene, RegMetricKind kind,
                              const DerivativeKernels& kernels) {
  MappedMetric metric = scene.metric(kind, kernels);
  std::vector<double> results;
  TensorTables matrices(scene.frame);
  matrices.setMatrix(scene.matrix, scene.modelFrame);
  addResult(metric, matrices.map(), matrices.controlCount(), results);
  TensorTables lattices(scene.frame, scene.lattice);
  lattices.setLattice(scene.matrix, scene.lattice, scene.modelFrame);
  addResult(metric, lattices.map(), lattices.controlCount(), results);
  std::vector<float> gradient(scene.field.size());
  results.push_back(metric.evaluate(scene.fieldMap(), nullptr));
  results.push_back(metric.evaluate(scene.fieldMap(), gradient.data()));
  results.insert(results.end(), gradient.begin(), gradient.end());
  return results;
}

template <class S>
void expectSameBits(const S& scene, const std::string& what) {
  for (const RegMetricKind kind : kinds) {
    const std::vector<double> expected = resultsOf(scene, kind, portableDerivatives);
    ASSERT_GT(expected[2], 0.0) << what;
    for (const InstructionSet set : instructionSets) {
      SCOPED_TRACE(what + ", metric " + std::to_string(kind) + ", instruction set " +
                   std::to_string(static_cast<int>(set)));
      const DerivativeKernels* const kernels = derivativesFor(set);
      if (kernels == nullptr) continue;
      const std::vector<double> found = resultsOf(scene, kind, *kernels);
      EXPECT_EQ(std::memcmp(found.data(), expected.data(), found.size() * sizeof(double)), 0);
    }
  }
}

TEST(Derivatives, HaveTheSameBitsOnEveryInstructionSet) {
  forEachVoxelType([]<class T>() {
    expectSameBits(Scene<short, T>(), "model type");
    expectSameBits(Scene<T, short>(), "reference type");
  });
  Scene<double, float> masked;
  masked.mask();
  expectSameBits(masked, "masks");
  Scene<float, double> moved;
  moved.matrix.m[3][0] += 14.0;
  expectSameBits(moved, "half of it outside");
  expectSameBits(Scene<float, short>({13, 9, 1}, {14, 11, 1}, {3, 2, 1}), "flat along z");
  expectSameBits(Scene<short, float>({1, 9, 7}, {1, 11, 9}, {1, 3, 2}), "flat along x");
  Scene<float, float> wide({301, 4, 3}, {90, 8, 7}, {1, 2, 2});
  wide.mask();
  expectSameBits(wide, "rows of more than two chunks in one cell");
  expectSameBits(Scene<short, unsigned short>({41, 6, 5}, {30, 8, 7}, {27, 5, 4}),
                 "cells of less than two voxels");
  expectSameBits(Scene<short, unsigned short>({7, 6, 5}, {30, 8, 7}, {15, 7, 5}),
                 "cells without a voxel");
}

}  // namespace
