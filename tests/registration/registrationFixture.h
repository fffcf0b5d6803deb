#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "optimizers/RegOptimizer.h"
#include "registration/RegVoxelRegistration.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RecordingProgress.h"
#include "tests/support/volumeValues.h"
#include "transforms/RegParametricTransform.h"

/// Zeros, in a box from the origin on.
inline NmHandle<VlData> emptyVolume(const NmVec3l& dims, const NmVec3f& voxelSize = {1, 1, 1}) {
  const NmHandle<VlData> volume = makeVolume(dims, NmPrimType::Float);
  const auto extent = [&](int axis) {
    return voxelSize[axis] * static_cast<float>(std::max(dims[axis] - 1, 1L));
  };
  EXPECT_TRUE(volume->setBoundingBox({0, extent(0), 0, extent(1), 0, extent(2)}).isOk());
  return volume;
}

/// A ball of 100 that fades over a few voxels, about (x0, 4, 4) in a grid of 9 x 9 x 9.
inline NmHandle<VlData> makeBall(double x0) {
  return makeVolume(NmVec3l(9, 9, 9), [x0](double x, double y, double z) {
    const double squared = (x - x0) * (x - x0) + (y - 4) * (y - 4) + (z - 4) * (z - 4);
    return 100.0 / (1.0 + 0.2 * squared);
  });
}

/// The constructor's arguments, with those of a rigid run of one short search.
struct Settings {
  Volumes reference = listOf({makeBall(4.0)});
  Volumes model = listOf({makeBall(3.0)});
  NmProgressInterface* progress = nullptr;
  bool rethrow = false;
  int orientation = 3;
  float minRef = 0.0f;
  float maxRef = 100.0f;
  unsigned int metricKind = 2;
  NmVec3i coarsest = NmVec3i(1, 1, 1);
  unsigned int dimensionMode = 1;
  bool calculateCoverage = false;
  NmVec4i affineStages = NmVec4i(1, 0, 0, 0);
  NmVec3i nonAffineStages = {};
  NmVec2f stepRange = NmVec2f(1.0f, 0.25f);
  int numGradientLevels = 0;
  float gradientStep = 0.001f;
  unsigned int optimizerKind = 1;
  bool restrictedMotion = false;
  bool keepCoarseAxis = false;

  std::unique_ptr<RegVoxelRegistration> build() {
    return std::make_unique<RegVoxelRegistration>(
        progress, rethrow, reference, model, orientation, minRef, maxRef, 0.0f, 100.0f, 1,
        metricKind, 64u, 64u, coarsest, dimensionMode, calculateCoverage, affineStages,
        nonAffineStages, keepCoarseAxis, stepRange, numGradientLevels, gradientStep, optimizerKind,
        false, restrictedMotion);
  }
};

/// A search that only notes how it was run, moves the transform and claims a value.
class RecordingOptimizer : public RegOptimizer {
 public:
  struct Run {
    float maxStep, minStep;
    int stageNumber, parameters;
    bool operator==(const Run&) const = default;
  };
  std::vector<Run> runs;

  using RegOptimizer::RegOptimizer;
  double optimize(float maxStep, float minStep) override {
    runs.push_back({maxStep, minStep, stageNumber, transform->getVariableParamVectorDim()});
    transform->params[0] += 1.0;
    return static_cast<double>(runs.size());
  }
};
