#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"
#include "functional/families/metricFamily.h"
#include "metrics/RegCorrelationRatio.h"
#include "metrics/RegMeanSquaredDifference.h"
#include "metrics/RegMutualInformation.h"
#include "tests/support/voxelTypes.h"

/// Shared by the tests of the sampling kernels: every pair of voxel types, every set of kernels
/// that the machine has, and random voxels.
namespace kernelCases {

/// Metrics whose family has functions of its own (functional/reg_evaluateUniform.h).
template <class Metric>
inline constexpr bool hasFunction =
    std::is_same_v<Metric, RegMeanSquaredDifference> ||
    std::is_same_v<Metric, RegCorrelationRatio> || std::is_base_of_v<RegMutualInformation, Metric>;

template <class F>
void forEachTypePair(F f) {
  forEachVoxelType(
      [&]<class T>() { forEachVoxelType([&]<class U>() { f.template operator()<T, U>(); }); });
}

/// Calls f(table) for each of them, and with null for the kernels that the library chooses.
template <class F>
void forEachPath(F f) {
  f(static_cast<const voxreg::detail::KernelTable*>(nullptr));
  for (const auto set : voxreg::detail::instructionSets) {
    SCOPED_TRACE("instruction set " + std::to_string(static_cast<int>(set)));
    if (const auto* const table = voxreg::detail::kernelsFor(set)) f(table);
  }
}

/// The frame of a geometry as a kernel takes it.
template <class T, class U, class Geometry>
voxreg::detail::WalkFrame frameOf(const Geometry& g, const std::vector<T>& reference,
                                  const std::vector<U>& model, const NmBox3i& box) {
  voxreg::detail::WalkFrame frame = {};
  frame.reference = reference.data();
  frame.referenceType = voxreg::detail::voxelTypeIndex<T>;
  frame.box = box;
  frame.model = model.data();
  frame.modelType = voxreg::detail::voxelTypeIndex<U>;
  for (int a = 0; a < 3; ++a) {
    frame.referenceDims[a] = g.dims[a];
    frame.modelDims[a] = g.modelDims[a];
    frame.start[a] = g.start[a];
    for (int k = 0; k < 3; ++k) frame.step[k][a] = g.step[k][a];
  }
  return frame;
}

template <class T>
std::vector<T> randomVoxels(const NmVec3i& dims, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> value(std::is_unsigned_v<T> ? 0.0 : -120.0, 250.0);
  std::vector<T> voxels(static_cast<unsigned long>(dims.x) * static_cast<unsigned long>(dims.y) *
                        static_cast<unsigned long>(dims.z));
  for (T& v : voxels) v = static_cast<T>(value(random));
  return voxels;
}

}  // namespace kernelCases
