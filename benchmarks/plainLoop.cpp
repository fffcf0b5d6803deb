#include "benchmarks/plainLoop.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace plainLoop {
namespace {

double sample(const Walk& w, const double position[3]) {
  long cell[3];
  double f[3];
  for (int a = 0; a < 3; ++a) {
    double p = position[a] < 0.0 ? 0.0 : position[a];
    p = p > w.modelDims[a] - 1 ? w.modelDims[a] - 1 : p;
    cell[a] = static_cast<long>(p);
    if (cell[a] > w.modelDims[a] - 2) cell[a] = w.modelDims[a] - 2;
    f[a] = p - static_cast<double>(cell[a]);
  }
  const long row = w.modelDims[0];
  const long slice = row * w.modelDims[1];
  const unsigned char* const m = w.model + cell[0] + row * cell[1] + slice * cell[2];
  const auto plane = [&](const unsigned char* p) {
    return (p[row + 1] * f[0] + p[row] * (1.0 - f[0])) * f[1] +
           (p[1] * f[0] + p[0] * (1.0 - f[0])) * (1.0 - f[1]);
  };
  const double a = plane(m);
  const double b = plane(m + slice);
  return (b - a) * f[2] + a;
}

/// First and last voxel of a row that starts at `p` and is within half a voxel of the model.
void clip(const Walk& w, const double p[3], int& first, int& last) {
  first = 0;
  last = w.dims[0] - 1;
  for (int a = 0; a < 3; ++a) {
    const double s = w.step[0][a];
    const double toLower = (-0.5 - p[a]) / s;
    const double toUpper = (w.modelDims[a] - 0.5 - p[a]) / s;
    const double in = std::min(toLower, toUpper);
    const double out = std::max(toLower, toUpper);
    if (in > 0.0) first = std::max(first, static_cast<int>(std::min(in, 1e6)) + 1);
    last = std::min(last, out < 0.0 ? -1 : static_cast<int>(std::min(out, 1e6)));
  }
}

template <class Take>
long walkAll(const Walk& w, Take take) {
  long count = 0;
  for (int z = 0; z < w.dims[2]; ++z)
    for (int y = 0; y < w.dims[1]; ++y) {
      double p[3];
      for (int a = 0; a < 3; ++a) p[a] = (w.start[a] + y * w.step[1][a]) + z * w.step[2][a];
      int first;
      int last;
      clip(w, p, first, last);
      for (int x = 0; x < first && x <= last; ++x)
        for (int a = 0; a < 3; ++a) p[a] += w.step[0][a];
      const short* const row = w.reference + w.dims[0] * (y + static_cast<long>(w.dims[1]) * z);
      for (int x = first; x <= last; ++x) {
        take(static_cast<double>(row[x]), p);
        for (int a = 0; a < 3; ++a) p[a] += w.step[0][a];
        ++count;
      }
    }
  return count;
}

}  // namespace

Walk::Walk(RegFunctional& functional) {
  VlData* const volume = functional.reference[0];
  const NmVec3l n = volume->dims();
  NmBox3f box;
  volume->boundingBox(box);
  NmMat4d m = dynamic_cast<RegAffineTransform&>(*functional.transform).getInverse()->absoluteMatrix;
  m.multRight(functional.worldToModel);
  NmVec3d corner;
  m.multVecMatrix(NmVec3d(box.xmin, box.ymin, box.zmin), corner);
  for (int a = 0; a < 3; ++a) {
    dims[a] = static_cast<int>(n[a]);
    modelDims[a] = functional.modelDims[a];
    start[a] = corner[a];
    NmVec3d extent;
    extent[a] = box.extent(a);
    NmVec3d whole;
    m.multDirMatrix(extent, whole);
    for (int k = 0; k < 3; ++k) step[a][k] = whole[k] / (dims[a] - 1);
  }
  reference = static_cast<const short*>(functional.referenceAccess->dataPtr(0));
  model = static_cast<const unsigned char*>(functional.modelAccess->dataPtr(0));
}

long difference(const Walk& walk, const RegMetric& /*metric*/) {
  double sum = 0.0;
  const long count = walkAll(walk, [&](double r, const double* p) {
    const double d = sample(walk, p) - r;
    sum -= d * d;
  });
  benchmark::DoNotOptimize(sum);
  return count;
}

long correlation(const Walk& walk, const RegMetric& metric) {
  const auto& ranges = dynamic_cast<const RegCorrelationRatio&>(metric);
  const double minRef = ranges.minRef;
  const double maxRef = ranges.maxRef;
  const double minModel = ranges.minModel;
  const double maxModel = ranges.maxModel;
  double sums[5] = {};
  const long count = walkAll(walk, [&](double r, const double* p) {
    if (!(r >= minRef && r <= maxRef)) return;
    const double m = sample(walk, p);
    if (!(m >= minModel && m <= maxModel)) return;
    sums[0] += r * r;
    sums[1] += m * m;
    sums[2] += m * r;
    sums[3] += r;
    sums[4] += m;
  });
  benchmark::DoNotOptimize(sums);
  return count;
}

long information(const Walk& walk, const RegMetric& metric) {
  const auto& axes = dynamic_cast<const RegMutualInformation&>(metric);
  const int rows = axes.numBinsRef;
  const int columns = axes.numBinsMod;
  const double minRef = axes.minRef;
  const double minModel = axes.minModel;
  const double scaleRef = axes.scaleRef;
  const double scaleModel = axes.scaleModel;
  std::vector<double> histogram(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns));
  const long count = walkAll(walk, [&](double r, const double* p) {
    const double x = std::clamp((r - minRef) * scaleRef, 0.0, rows - 1.0);
    const double y = std::clamp((sample(walk, p) - minModel) * scaleModel, 0.0, columns - 1.0);
    const int i = std::min(static_cast<int>(x), rows - 2);
    const int j = std::min(static_cast<int>(y), columns - 2);
    const double fx = x - i;
    const double fy = y - j;
    double* const bin = histogram.data() + static_cast<long>(i) * columns + j;
    bin[0] += (1.0 - fx) * (1.0 - fy);
    bin[columns] += fx * (1.0 - fy);
    bin[1] += (1.0 - fx) * fy;
    bin[columns + 1] += fx * fy;
  });
  benchmark::DoNotOptimize(histogram.data());
  return count;
}

}  // namespace plainLoop
