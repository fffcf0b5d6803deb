#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "metrics/RegMetric.h"
#include "tests/variational/mappedScene.h"

namespace {

using namespace mappedScene;

double entropy(const std::vector<double>& p) {
  double sum = 0.0;
  for (const double x : p)
    if (x > 0) sum -= x * std::log(x);
  return sum;
}

/// The metrics by their definitions.
template <class S>
double naiveValue(const S& scene, RegMetricKind kind, Mapping mapping) {
  std::vector<double> r, m;
  scene.forEachSample(mapping, [&](double a, double b) {
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

/// The derivatives by every `stride`-th control against central differences.
void expectDerivatives(MappedMetric& metric, TensorMap map, std::size_t stride) {
  std::vector<double> controls(map.controls, map.controls + 3 * map.axes[0].numControls *
                                                                map.axes[1].numControls *
                                                                map.axes[2].numControls);
  map.controls = controls.data();
  std::vector<double> gradient(controls.size());
  EXPECT_EQ(metric.evaluate(map, gradient.data()), metric.evaluate(map, nullptr));
  double largest = 0.0;
  for (const double g : gradient) largest = std::max(largest, std::abs(g));
  ASSERT_GT(largest, 0.0);
  for (std::size_t i = 0; i < gradient.size(); i += stride) {
    constexpr double h = 1e-6;
    const double kept = controls[i];
    controls[i] = kept + h;
    const double plus = metric.evaluate(map, nullptr);
    controls[i] = kept - h;
    const double minus = metric.evaluate(map, nullptr);
    controls[i] = kept;
    EXPECT_NEAR(gradient[i], (plus - minus) / (2.0 * h), 1e-6 * largest) << i;
  }
}

/// The derivatives by the displacements of some voxels.
template <class S>
void expectFieldDerivatives(MappedMetric& metric, S scene) {
  std::vector<float> gradient(scene.field.size(), 7.0f);
  EXPECT_EQ(metric.evaluate(scene.fieldMap(), gradient.data()),
            metric.evaluate(scene.fieldMap(), nullptr));
  float largest = 0.0f;
  for (const float g : gradient) largest = std::max(largest, std::abs(g));
  ASSERT_GT(largest, 0.0f);
  for (std::size_t i = 0; i < gradient.size(); i += 37) {
    constexpr float h = 0x1p-18f;
    const float kept = scene.field[i];
    scene.field[i] = kept + h;
    const double plus = metric.evaluate(scene.fieldMap(), nullptr);
    scene.field[i] = kept - h;
    const double minus = metric.evaluate(scene.fieldMap(), nullptr);
    const double moved = static_cast<double>(kept + h) - static_cast<double>(scene.field[i]);
    scene.field[i] = kept;
    EXPECT_NEAR(static_cast<double>(gradient[i]), (plus - minus) / moved,
                1e-6 * static_cast<double>(largest))
        << i;
  }
}

template <class S>
void expectExact(S scene, const std::string& what) {
  scene.avoidKinks(1.3e-5);  // the largest move of a voxel for a difference
  for (const RegMetricKind kind : kinds) {
    SCOPED_TRACE(what + ", metric " + std::to_string(kind));
    MappedMetric metric = scene.metric(kind);
    TensorTables matrices(scene.frame);
    matrices.setMatrix(scene.matrix, scene.modelFrame);
    double value = naiveValue(scene, kind, Mapping::matrix);
    EXPECT_NEAR(metric.evaluate(matrices.map(), nullptr), value, 1e-9 * std::abs(value));
    expectDerivatives(metric, matrices.map(), 1);
    TensorTables lattices(scene.frame, scene.lattice);
    lattices.setLattice(scene.matrix, scene.lattice, scene.modelFrame);
    value = naiveValue(scene, kind, Mapping::lattice);
    EXPECT_NEAR(metric.evaluate(lattices.map(), nullptr), value, 1e-9 * std::abs(value));
    expectDerivatives(metric, lattices.map(), 7);
    value = naiveValue(scene, kind, Mapping::field);
    EXPECT_NEAR(metric.evaluate(scene.fieldMap(), nullptr), value, 1e-9 * std::abs(value));
    expectFieldDerivatives(metric, scene);
  }
}

TEST(MappedMetric, HasTheValuesOfItsDefinitionAndTheDerivativesOfItsValues) {
  forEachVoxelType([]<class T>() {
    expectExact(Scene<short, T>(), "model type");
    expectExact(Scene<T, float>(), "reference type");
  });
  Scene<double, float> masked;
  masked.mask();
  expectExact(masked, "masks");
  Scene<float, double> moved;
  moved.matrix.m[3][0] += 14.0;
  expectExact(moved, "half of it outside");
  expectExact(Scene<float, short>({13, 9, 1}, {14, 11, 1}, {3, 2, 1}), "flat along z");
  expectExact(Scene<short, float>({1, 9, 7}, {1, 11, 9}, {1, 3, 2}), "flat along x");
}

TEST(MappedMetric, IsAtItsBestWhereAVolumeLiesOnItself) {
  Scene<float, float> scene;
  scene.model = scene.reference;
  scene.modelDims = scene.dims;
  scene.frame = scene.modelFrame = frameOf(scene.dims, {0, 12, 0, 8, 0, 6});
  TensorTables tables(scene.frame);
  tables.setMatrix(NmMat4d(), scene.modelFrame);
  std::vector<double> gradient(static_cast<std::size_t>(3 * tables.controlCount()));
  MappedMetric difference = scene.metric(RegMetricMeanSquaredDifference);
  EXPECT_EQ(difference.evaluate(tables.map(), gradient.data()), 0.0);
  for (const double g : gradient) EXPECT_EQ(g, 0.0);
  EXPECT_EQ(difference.numSamples(), 13 * 9 * 7);
  MappedMetric correlation = scene.metric(RegMetricCorrelationRatio);
  EXPECT_NEAR(correlation.evaluate(tables.map(), gradient.data()), 1.0, 1e-12);
  for (const double g : gradient) EXPECT_NEAR(g, 0.0, 1e-9);
}

TEST(MappedMetric, AFieldLeavesOutVoxelsWithoutDisplacement) {
  Scene<short, short> scene;
  scene.matrix = NmMat4d();
  scene.matrix.m[3][0] = 0.3;
  std::fill(scene.field.begin(), scene.field.end(), 0.0f);
  MappedMetric metric = scene.metric(RegMetricMeanSquaredDifference);
  metric.evaluate(scene.fieldMap(), nullptr);
  const double before = metric.numSamples();
  scene.field[13 * 9 * 3 + 13 * 4 + 6] = std::nanf("");
  std::vector<float> gradient(scene.field.size(), 7.0f);
  metric.evaluate(scene.fieldMap(), gradient.data());
  EXPECT_EQ(metric.numSamples(), before - 1.0);
  EXPECT_EQ(gradient[13 * 9 * 3 + 13 * 4 + 6], 0.0f);
}

TEST(MappedMetric, MakesNoStatementWithoutSamples) {
  Scene<short, short> scene;
  scene.matrix.m[3][1] += 100.0;
  TensorTables tables(scene.frame);
  tables.setMatrix(scene.matrix, scene.modelFrame);
  std::vector<double> gradient(static_cast<std::size_t>(3 * tables.controlCount()));
  for (const RegMetricKind kind : kinds)
    EXPECT_EQ(scene.metric(kind).evaluate(tables.map(), gradient.data()), RegMetric::noStatement);
}

}  // namespace
