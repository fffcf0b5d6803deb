#include "variational/objective/mappedMetric.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "functional/kernels/walk.h"
#include "tests/functional/naiveWalk.h"
#include "tests/support/volumes.h"
#include "tests/support/voxelTypes.h"
#include "variational/objective/tensorTables.h"

namespace {

using voxreg::ControlLattice;
using voxreg::detail::BinRange;
using voxreg::detail::IndexSpan;
using voxreg::detail::MappedMetric;
using voxreg::detail::TensorTables;
using voxreg::detail::VolumeFrame;
using voxreg::detail::voxelTypeIndex;

constexpr RegMetricKind kinds[] = {RegMetricNormMutualInformation, RegMetricSimpleMutualInformation,
                                   RegMetricMeanSquaredDifference, RegMetricCorrelationRatio};

VolumeFrame frameOf(const NmVec3i& n, const NmBox3f& box) {
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

/// Two volumes and a map between them, a matrix or a lattice on top of it.
template <class T, class U>
struct Scene {
  NmVec3i dims = {13, 9, 7};
  NmVec3i modelDims = {11, 10, 8};
  std::vector<T> reference = waves<T>(dims, 0.0);
  std::vector<U> model = waves<U>(modelDims, 0.4);
  VolumeFrame frame = frameOf(dims, {-10, 14, 3, 19, 0, 15});
  VolumeFrame modelFrame = frameOf(modelDims, {-9, 13, 2, 20, -1, 15});
  NmMat4d matrix{1.05, 0.04,  -0.03, 0, -0.05, 0.96, 0.06, 0,
                 0.02, -0.04, 1.03,  0, 0.9,   0.7,  -0.4, 1};
  ControlLattice lattice{frame.box, {3, 2, 2}};
  std::vector<IndexSpan> rows;

  Scene() {
    std::mt19937 random(5);
    for (double& value : lattice.values) value = static_cast<double>(random() % 1000) / 600.0 - 0.8;
  }

  MappedMetric metric(RegMetricKind kind) const {
    MappedMetric m(kind, {reference.data(), voxelTypeIndex<T>, frame},
                   {model.data(), voxelTypeIndex<U>, modelFrame}, {40.0, 160.0, 9},
                   {45.0, 150.0, 8});
    m.setRows(rows);
    return m;
  }

  /// Where a reference voxel goes, in model voxels.
  NmVec3d positionOf(int x, int y, int z, bool withLattice) const {
    NmVec3d p(frame.position(0, x), frame.position(1, y), frame.position(2, z));
    const NmVec3d shift = withLattice ? lattice.displacementAt(p) : NmVec3d();
    matrix.multVecMatrix(p, p);
    NmVec3d at;
    for (int a = 0; a < 3; ++a)
      at[a] = (p[a] + shift[a] - modelFrame.box.min(a)) /
              (modelFrame.voxelSize[a] > 0 ? modelFrame.voxelSize[a] : 1);
    return at;
  }

  /// Calls visit(reference value, model value) for each sample.
  template <class Visit>
  void forEachSample(bool withLattice, Visit visit) const {
    std::size_t voxel = 0;
    for (int z = 0; z < dims.z; ++z)
      for (int y = 0; y < dims.y; ++y)
        for (int x = 0; x < dims.x; ++x, ++voxel) {
          const IndexSpan* const span =
              rows.empty() ? nullptr : &rows[static_cast<std::size_t>(y + dims.y * z)];
          if (span != nullptr && (x < span->first || x >= span->end)) continue;
          const NmVec3d at = positionOf(x, y, z, withLattice);
          bool isInside = true;
          for (int a = 0; a < 3; ++a) {
            const double slack = modelDims[a] > 1 ? 1e-3 : 0.5;
            isInside = isInside && at[a] >= -slack && at[a] <= modelDims[a] - 1 + slack;
          }
          const double position[3] = {at.x, at.y, at.z};
          const double r = static_cast<double>(reference[voxel]);
          if (!isInside || !std::isfinite(r)) continue;
          const double m = naive::sample(model, modelDims, position);
          if (std::isfinite(m)) visit(r, m);
        }
  }
};

double entropy(const std::vector<double>& p) {
  double sum = 0.0;
  for (const double x : p)
    if (x > 0) sum -= x * std::log(x);
  return sum;
}

/// The metrics by their definitions.
template <class S>
double naiveValue(const S& scene, RegMetricKind kind, bool withLattice) {
  std::vector<double> r, m;
  scene.forEachSample(withLattice, [&](double a, double b) {
    r.push_back(a);
    m.push_back(b);
  });
  const double n = static_cast<double>(r.size());
  if (kind == RegMetricMeanSquaredDifference) {
    double sum = 0;
    for (std::size_t i = 0; i < r.size(); ++i) sum -= (r[i] - m[i]) * (r[i] - m[i]) / n;
    return sum;
  }
  if (kind == RegMetricCorrelationRatio) {
    double meanR = 0, meanM = 0, rr = 0, mm = 0, rm = 0;
    for (std::size_t i = 0; i < r.size(); ++i) meanR += r[i] / n, meanM += m[i] / n;
    for (std::size_t i = 0; i < r.size(); ++i) {
      rr += (r[i] - meanR) * (r[i] - meanR);
      mm += (m[i] - meanM) * (m[i] - meanM);
      rm += (r[i] - meanR) * (m[i] - meanM);
    }
    return std::abs(rm) / std::sqrt(rr * mm);
  }
  std::vector<double> joint(72), rowSums(9), columnSums(8);
  for (std::size_t i = 0; i < r.size(); ++i) {
    const double u = std::clamp((r[i] - 40.0) * 8.0 / 120.0, 0.0, 8.0);
    const double v = std::clamp((m[i] - 45.0) * 7.0 / 105.0, 0.0, 7.0);
    const auto row = static_cast<std::size_t>(std::min(u, 7.0));
    const auto column = static_cast<std::size_t>(std::min(v, 6.0));
    const double fr = u - static_cast<double>(row), fc = v - static_cast<double>(column);
    for (std::size_t a = 0; a < 2; ++a)
      for (std::size_t b = 0; b < 2; ++b) {
        const double weight = (a == 1 ? fr : 1 - fr) * (b == 1 ? fc : 1 - fc) / n;
        joint[(row + a) * 8 + column + b] += weight;
        rowSums[row + a] += weight;
        columnSums[column + b] += weight;
      }
  }
  const double hr = entropy(rowSums), hm = entropy(columnSums), hrm = entropy(joint);
  return kind == RegMetricNormMutualInformation ? (hr + hm) / hrm : hr + hm - hrm;
}

/// Values against the definitions, derivatives against central differences.
template <class S>
void expectExact(S& scene, const char* what) {
  for (const RegMetricKind kind : kinds) {
    SCOPED_TRACE(std::string(what) + ", metric " + std::to_string(kind));
    MappedMetric metric = scene.metric(kind);
    TensorTables matrixTables(scene.frame);
    matrixTables.setMatrix(scene.matrix, scene.modelFrame);
    EXPECT_NEAR(metric.evaluate(matrixTables.map(), nullptr), naiveValue(scene, kind, false),
                1e-9 * std::abs(naiveValue(scene, kind, false)));
    TensorTables tables(scene.frame, scene.lattice);
    const auto valueAt = [&](double* gradient) {
      tables.setLattice(scene.matrix, scene.lattice, scene.modelFrame);
      return metric.evaluate(tables.map(), gradient);
    };
    std::vector<double> gradient(scene.lattice.values.size());
    const double value = valueAt(gradient.data());
    EXPECT_NEAR(value, naiveValue(scene, kind, true), 1e-9 * std::abs(value));
    EXPECT_EQ(value, valueAt(nullptr));
    double largest = 0.0;
    for (const double g : gradient) largest = std::max(largest, std::abs(g));
    ASSERT_GT(largest, 0.0);
    const auto count = static_cast<std::size_t>(scene.lattice.controlCount());
    for (std::size_t i = 0; i < gradient.size(); i += 7) {
      constexpr double h = 2e-6;
      const double kept = scene.lattice.values[i];
      scene.lattice.values[i] = kept + h;
      const double plus = valueAt(nullptr);
      scene.lattice.values[i] = kept - h;
      const double minus = valueAt(nullptr);
      scene.lattice.values[i] = kept;
      const float size = scene.modelFrame.voxelSize[static_cast<int>(i / count)];
      const double found = gradient[i] / (size > 0.0f ? static_cast<double>(size) : 1.0);
      EXPECT_NEAR(found, (plus - minus) / (2.0 * h), 2e-6 * largest) << i;
    }
  }
}

TEST(MappedMetric, HasTheValuesOfItsDefinitionAndTheDerivativesOfItsValues) {
  forEachVoxelType([]<class U>() {
    Scene<short, U> scene;
    expectExact(scene, "model type");
  });
  Scene<double, float> masked;
  for (std::size_t i = 0; i < masked.reference.size(); i += 11) masked.reference[i] = std::nan("");
  masked.model[300] = std::nanf("");
  for (int row = 0; row < 63; ++row) masked.rows.push_back({row % 3, 13 - row % 5 * 3});
  masked.rows[30] = {0, 0};
  expectExact(masked, "masks");
  Scene<float, double> moved;
  moved.matrix.m[3][0] += 14.0;
  expectExact(moved, "half of it outside");
}

}  // namespace
