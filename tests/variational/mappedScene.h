#pragma once

#include <cmath>
#include <random>
#include <vector>

#include "tests/functional/naiveWalk.h"
#include "tests/support/volumes.h"
#include "tests/support/voxelTypes.h"
#include "variational/objective/mappedMetric.h"
#include "variational/objective/tensorTables.h"
#include "variational/objective/voxelMatrix.h"

/// Shared by the tests of the derivative walks.
namespace mappedScene {

using namespace voxreg::detail;
using voxreg::ControlLattice;

inline constexpr RegMetricKind kinds[] = {
    RegMetricNormMutualInformation, RegMetricSimpleMutualInformation,
    RegMetricMeanSquaredDifference, RegMetricCorrelationRatio};

inline VolumeFrame frameOf(const NmVec3i& n, const NmBox3f& box) {
  const NmHandle<VlMemoryData> volume = makeVolume({n.x, n.y, n.z}, NmPrimType::UnsignedChar);
  volume->setBoundingBox(box);
  return VolumeFrame(*volume);
}

template <class T>
std::vector<T> waves(const NmVec3i& n, double phase) {
  std::vector<T> voxels;
  for (int z = 0; z < n.z; ++z)
    for (int y = 0; y < n.y; ++y)
      for (int x = 0; x < n.x; ++x)
        voxels.push_back(static_cast<T>(100.0 +
                                        40.0 * std::sin(0.5 * x + phase) * std::cos(0.4 * y) +
                                        30.0 * std::sin(0.6 * z + 0.2 * y)));
  return voxels;
}

/// A matrix, or a lattice or a field on top of it.
enum class Mapping { matrix, lattice, field };

/// Two volumes and maps between them.
template <class T, class U>
struct Scene {
  NmVec3i dims;
  NmVec3i modelDims;
  std::vector<T> reference = waves<T>(dims, 0.0);
  std::vector<U> model = waves<U>(modelDims, 0.4);
  VolumeFrame frame = frameOf(dims, {-10, 14, 3, 19, 0, 15});
  VolumeFrame modelFrame = frameOf(modelDims, {-9, 13, 2, 20, -1, 15});
  NmMat4d matrix{1.05, 0.04,  -0.03, 0, -0.05, 0.96, 0.06, 0,
                 0.02, -0.04, 1.03,  0, 0.8,   0.7,  -0.4, 1};
  ControlLattice lattice;
  std::vector<float> field;     ///< displacements in model voxels
  std::vector<IndexSpan> rows;  ///< that count; none: whole rows

  explicit Scene(const NmVec3i& n = {13, 9, 7}, const NmVec3i& modelN = {11, 10, 8},
                 const NmVec3i& intervals = {3, 2, 2})
      : dims(n), modelDims(modelN), lattice(frame.box, intervals) {
    std::mt19937 random(5);
    for (double& value : lattice.values) value = static_cast<double>(random() % 1000) / 600.0 - 0.8;
    // Some bits of a float are left for small changes.
    for (std::size_t i = 0; i < 3 * reference.size(); ++i)
      field.push_back(static_cast<float>(random() % 16384) / 16384.0f - 0.4f);
  }

  MappedMetric metric(RegMetricKind kind,
                      const DerivativeKernels& kernels = derivativeKernels()) const {
    MappedMetric m(kind, {reference.data(), voxelTypeIndex<T>, frame},
                   {model.data(), voxelTypeIndex<U>, modelFrame}, {40.0, 160.0, 9},
                   {45.0, 150.0, 8}, kernels);
    m.setRows(rows);
    return m;
  }

  /// Leaves out voxels of both volumes, and parts of rows or whole ones.
  void mask() {
    for (std::size_t i = 0; i < reference.size(); i += 11)
      reference[i] = static_cast<T>(std::nan(""));
    model[model.size() / 3] = static_cast<U>(std::nan(""));
    for (int row = 0; row < dims.y * dims.z; ++row) rows.push_back({row % 3, dims.x - row % 5 * 3});
    rows[rows.size() / 2] = {0, 0};
  }

  FieldMap fieldMap() const { return {voxelMatrix(matrix, frame, modelFrame), field.data()}; }

  /// Where a reference voxel goes, in model voxels.
  NmVec3d positionOf(int x, int y, int z, Mapping mapping) const {
    NmVec3d p(frame.position(0, x), frame.position(1, y), frame.position(2, z));
    const NmVec3d shift = mapping == Mapping::lattice ? lattice.displacementAt(p) : NmVec3d();
    matrix.multVecMatrix(p, p);
    NmVec3d at;
    for (int a = 0; a < 3; ++a)
      at[a] = (p[a] + shift[a] - modelFrame.box.min(a)) /
              (modelFrame.voxelSize[a] > 0 ? modelFrame.voxelSize[a] : 1);
    const auto voxel = static_cast<std::size_t>(x + dims.x * (y + dims.y * z));
    for (std::size_t a = 0; a < 3 && mapping == Mapping::field; ++a)
      at[static_cast<int>(a)] += static_cast<double>(field[voxel + a * reference.size()]);
    return at;
  }

  /// Moves the model by up to a tenth of a millimetre, so that no voxel goes to within `reach`
  /// model voxels of a kink of the metric: a face of a cell, the rim, a value in the middle of a
  /// bin.
  void avoidKinks(double reach) {
    const NmMat4d given = matrix;
    std::mt19937 random(9);
    while (hasKink(Mapping::matrix, reach) || hasKink(Mapping::lattice, reach) ||
           hasKink(Mapping::field, reach))
      for (int a = 0; a < 3; ++a)
        matrix.m[3][a] = given.m[3][a] + static_cast<double>(random() % 1000) * 1e-4;
  }

  bool hasKink(Mapping mapping, double reach) const {
    const auto isWithin = [](double value, double raster, double distance) {
      return std::abs(value - raster * std::round(value / raster)) <= distance;
    };
    for (int z = 0; z < dims.z; ++z)
      for (int y = 0; y < dims.y; ++y)
        for (int x = 0; x < dims.x; ++x) {
          const NmVec3d at = positionOf(x, y, z, mapping);
          for (int a = 0; a < 3; ++a)
            if (isWithin(at[a], 0.5, reach)) return true;
        }
    constexpr double steepest = 80.0;  // of the waves, from voxel to voxel
    bool isNearBin = false;
    forEachSample(mapping, [&](double, double m) {
      isNearBin = isNearBin || isWithin(m - 45.0, 15.0, steepest * reach);
    });
    return isNearBin;
  }

  /// Calls visit(reference value, model value) for each sample.
  template <class Visit>
  void forEachSample(Mapping mapping, Visit visit) const {
    std::size_t voxel = 0;
    for (int z = 0; z < dims.z; ++z)
      for (int y = 0; y < dims.y; ++y)
        for (int x = 0; x < dims.x; ++x, ++voxel) {
          const IndexSpan* const span =
              rows.empty() ? nullptr : &rows[static_cast<std::size_t>(y + dims.y * z)];
          if (span != nullptr && (x < span->first || x >= span->end)) continue;
          const NmVec3d at = positionOf(x, y, z, mapping);
          bool isInside = true;
          for (int a = 0; a < 3; ++a) {
            isInside = isInside && at[a] >= -0.5 && at[a] <= modelDims[a] - 0.5;
          }
          const double position[3] = {at.x, at.y, at.z};
          const double r = static_cast<double>(reference[voxel]);
          if (!isInside || !std::isfinite(r)) continue;
          const double m = naive::sample(model, modelDims, position);
          if (std::isfinite(m)) visit(r, m);
        }
  }
};

}  // namespace mappedScene
