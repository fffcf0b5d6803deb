#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

#include "tests/support/expectNear.h"
#include "tests/variational/naiveField.h"
#include "variational/fields/fieldComposition.h"
#include "variational/fields/fieldDeterminants.h"
#include "variational/fields/fieldInverse.h"
#include "variational/fields/fieldSmoothing.h"
#include "variational/fields/fieldUpsampling.h"
#include "variational/fields/fieldWarp.h"

namespace {

using namespace voxreg::detail;
using naiveField::forEachVoxel;
using naiveField::indexOf;
using naiveField::randomField;
using naiveField::randomVolume;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

/// Thick, flat, thin and single; rows below and above the widest registers.
const NmVec3i grids[] = {{37, 11, 9}, {70, 5, 3}, {16, 6, 1}, {1, 9, 7},
                         {7, 1, 12},  {1, 1, 5},  {1, 1, 1},  {3, 2, 2}};

std::string nameOf(const NmVec3i& dims) {
  return std::to_string(dims.x) + " x " + std::to_string(dims.y) + " x " + std::to_string(dims.z);
}

std::vector<double> naiveSmoothed(const std::vector<float>& volume, const NmVec3i& dims,
                                  double sigma) {
  const int radius = static_cast<int>(std::ceil(3 * sigma));
  std::vector<double> values(volume.begin(), volume.end());
  for (int axis = 0; axis < 3; ++axis) {
    if (dims[axis] == 1) continue;
    std::vector<double> next(values.size());
    forEachVoxel(dims, [&](int x, int y, int z, std::size_t i) {
      double sum = 0.0;
      double weights = 0.0;
      for (int k = -radius; k <= radius; ++k) {
        int at[3] = {x, y, z};
        at[axis] = std::clamp(at[axis] + k, 0, dims[axis] - 1);
        const double weight = std::exp(-0.5 * k * k / (sigma * sigma));
        sum += weight * values[indexOf(dims, at[0], at[1], at[2])];
        weights += weight;
      }
      next[i] = sum / weights;
    });
    values = next;
  }
  return values;
}

TEST(FieldSmoothing, isAGaussianWithTheBorderContinued) {
  for (const NmVec3i& dims : grids)
    for (const double sigma : {0.5, 1.7, 4.0}) {
      SCOPED_TRACE(nameOf(dims) + ", sigma " + std::to_string(sigma));
      VoxelField field = randomField(dims, 3.0f, 5);
      const VoxelField before = field;
      smooth(field, sigma);
      for (int c = 0; c < 3; ++c) {
        const auto expected = naiveSmoothed(before.along[c], dims, sigma);
        for (std::size_t i = 0; i < expected.size(); ++i)
          ASSERT_NEAR(static_cast<double>(field.along[c][i]), expected[i], 2e-6) << i;
      }
    }
}

TEST(FieldSmoothing, leavesAllWithoutAWidth) {
  for (const double sigma : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
    std::vector<float> volume = randomVolume({5, 4, 3}, 1.0f, 2);
    const std::vector<float> before = volume;
    smooth(volume, {5, 4, 3}, sigma);
    EXPECT_EQ(volume, before) << sigma;
  }
  std::vector<float> volume(60, 2.0f);
  for (const double sigma : {1e-300, 1e5}) smooth(volume, {5, 4, 3}, sigma);
  for (const float value : volume) EXPECT_NEAR(value, 2.0f, 1e-4f);
}

TEST(FieldWarp, takesTrilinearValuesClampedToTheGrid) {
  for (const NmVec3i& dims : grids) {
    SCOPED_TRACE(nameOf(dims));
    const std::vector<float> volume = randomVolume(dims, 1.0f, 3);
    const VoxelField field = randomField(dims, 4.0f, 4);
    std::vector<float> warped;
    warp(volume, field, warped);
    ASSERT_EQ(warped.size(), volume.size());
    forEachVoxel(dims, [&](int x, int y, int z, std::size_t i) {
      const NmVec3d by = naiveField::displacementOf(field, i);
      EXPECT_NEAR(static_cast<double>(warped[i]),
                  naiveField::valueAt(volume, dims, {x + by.x, y + by.y, z + by.z}), 2e-5)
          << i;
    });
  }
}

TEST(FieldComposition, addsTheFieldAtTheUpdatedPosition) {
  for (const NmVec3i& dims : grids)
    for (const float amount : {0.4f, 1.0f, 30.0f}) {
      SCOPED_TRACE(nameOf(dims) + ", update " + std::to_string(amount));
      VoxelField field = randomField(dims, 2.0f, 6);
      const VoxelField before = field;
      const VoxelField update = randomField(dims, amount, 9);
      compose(update, field);
      forEachVoxel(dims, [&](int x, int y, int z, std::size_t i) {
        const NmVec3d by = naiveField::displacementOf(update, i);
        const NmVec3d old = naiveField::displacementAt(before, {x + by.x, y + by.y, z + by.z});
        expectNear(naiveField::displacementOf(field, i), {by.x + old.x, by.y + old.y, by.z + old.z},
                   5e-5);
      });
    }
}

TEST(FieldOperations, readNothingOutsideForOddValues) {
  for (const NmVec3i& dims : grids) {
    VoxelField odd = randomField(dims, 1.0f, 8);
    constexpr float values[] = {nan, infinity, -infinity, 1e30f, -1e30f, 3e9f, -3e9f};
    for (int c = 0; c < 3; ++c)
      for (std::size_t i = 0; i < odd.along[c].size(); ++i)
        if ((i + static_cast<std::size_t>(c)) % 3 == 0) odd.along[c][i] = values[i % 7];
    const std::vector<float> ones(odd.along[0].size(), 1.0f);
    std::vector<float> warped;
    warp(ones, odd, warped);
    EXPECT_EQ(warped, ones);
    VoxelField field = {dims, {ones, ones, ones}};
    compose(odd, field);
    for (int c = 0; c < 3; ++c)
      for (std::size_t i = 0; i < ones.size(); ++i)
        if (!std::isnan(odd.along[c][i])) {
          EXPECT_EQ(field.along[c][i], odd.along[c][i] + 1.0f) << i;
        }
    EXPECT_EQ(smallestDeterminant(odd), -std::numeric_limits<double>::infinity());
    smooth(odd, 1.0);
  }
}

TEST(FieldDeterminants, areThoseOfAllVoxelsAndSides) {
  for (const NmVec3i& dims : grids) {
    const VoxelField field = randomField(dims, 0.3f, 11);
    EXPECT_NEAR(smallestDeterminant(field), naiveField::smallestDeterminant(field), 1e-5)
        << nameOf(dims);
  }
  VoxelField doubled = randomField({40, 3, 3}, 0.0f, 1);
  for (std::size_t i = 0; i < doubled.along[0].size(); ++i)
    doubled.along[0][i] = static_cast<float>(i % 40);
  EXPECT_EQ(smallestDeterminant(doubled), 2.0);
}

void appendAll(const VoxelField& field, std::vector<float>& values) {
  for (const auto& component : field.along)
    values.insert(values.end(), component.begin(), component.end());
}

std::vector<float> resultsOf(const NmVec3i& dims, const FieldKernels& kernels) {
  VoxelField field = randomField(dims, 3.0f, 5);
  std::vector<float> results;
  warp(field.along[1], field, results, kernels);
  smooth(field, 1.3, kernels);
  appendAll(field, results);
  for (const float amount : {0.9f, 1.2f}) {
    compose(randomField(dims, amount, 7), field, kernels);
    appendAll(field, results);
  }
  results.push_back(static_cast<float>(smallestDeterminant(field, kernels)));
  const FieldInverse inverted = inverse(field, kernels);
  appendAll(inverted.field, results);
  results.insert(results.end(), inverted.error.begin(), inverted.error.end());
  return results;
}

TEST(FieldKernels, haveTheSameBitsOnEveryInstructionSet) {
  for (const NmVec3i& dims : grids) {
    const std::vector<float> expected = resultsOf(dims, portableFieldKernels);
    for (const InstructionSet set : instructionSets) {
      const FieldKernels* const kernels = fieldKernelsFor(set);
      if (kernels == nullptr) continue;
      const std::vector<float> found = resultsOf(dims, *kernels);
      EXPECT_EQ(std::memcmp(found.data(), expected.data(), found.size() * sizeof(float)), 0)
          << nameOf(dims) << ", set " << static_cast<int>(set);
    }
  }
}

TEST(FieldUpsampling, interpolatesInTheTargetsVoxels) {
  const NmBox3f box(-3, 9, 2, 8, 0, 5);
  const VolumeFrame coarse({7, 4, 1}, box);
  // Half a coarse voxel beyond the box on either side along x, a sixth of a voxel size along y.
  const VolumeFrame fine({27, 37, 2}, NmBox3f(-4, 10, 2, 8, 0, 5));
  for (const bool isFiner : {true, false}) {
    const VolumeFrame& from = isFiner ? coarse : fine;
    const VolumeFrame& to = isFiner ? fine : coarse;
    const VoxelField field = randomField(from.dims, 2.0f, 3);
    const VoxelField found = upsampled(field, from, to);
    ASSERT_EQ(found.dims, to.dims);
    forEachVoxel(to.dims, [&](int x, int y, int z, std::size_t i) {
      const int at[3] = {x, y, z};
      NmVec3d position;
      for (int a = 0; a < 3; ++a)
        position[a] =
            static_cast<double>((to.position(a, at[a]) - from.box.min(a)) / from.voxelSize[a]);
      NmVec3d expected = naiveField::displacementAt(field, position);
      for (int a = 0; a < 3; ++a)
        expected[a] *= static_cast<double>(from.voxelSize[a] / to.voxelSize[a]);
      expectNear(naiveField::displacementOf(found, i), expected, 1e-4);
    });
  }
}

}  // namespace
