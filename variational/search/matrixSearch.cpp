#include "variational/search/matrixSearch.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include "foundation/NmWatch.h"
#include "metrics/RegMetric.h"
#include "variational/objective/tensorTables.h"
#include "variational/objective/voxelMatrix.h"
#include "variational/search/lbfgs.h"
#include "variational/search/matrixParameters.h"
#include "variational/search/searchReport.h"

namespace voxreg::detail {
namespace {

/// Where the voxels that count are, in the reference's frame.
struct Moments {
  NmVec3d centre;
  NmVec3d spread;  ///< standard deviation
};

Moments momentsOf(const SearchLevel& level) {
  const VolumeFrame& frame = level.referenceFrame();
  double count = 0.0;
  NmVec3d sum;
  NmVec3d squares;
  level.forEachCounting([&](const NmVec3i& voxel) {
    count += 1.0;
    for (int a = 0; a < 3; ++a) {
      sum[a] += voxel[a];
      squares[a] += static_cast<double>(voxel[a]) * voxel[a];
    }
  });
  Moments moments;
  for (int a = 0; a < 3 && count > 0.0; ++a) {
    const double mean = sum[a] / count;
    const auto size = static_cast<double>(frame.voxelSize[a]);
    moments.centre[a] = static_cast<double>(frame.box.min(a)) + mean * size;
    moments.spread[a] = std::sqrt(std::max(squares[a] / count - mean * mean, 0.0)) * size;
  }
  return moments;
}

/// What becomes small: minus the metric, by the parameters of a matrix.
class MatrixObjective {
 public:
  MatrixObjective(SearchLevel& level, const MatrixParameters& parameters)
      : level_(level),
        parameters_(parameters),
        tables_(level.referenceFrame()),
        byControls_(static_cast<std::size_t>(3 * tables_.controlCount())) {}

  double operator()(const std::vector<double>& x, std::vector<double>& gradient) {
    tables_.setMatrix(parameters_.matrixAt(x), level_.modelFrame());
    const double metric = level_.metric().evaluate(tables_.map(), byControls_.data());
    if (metric == RegMetric::noStatement) {
      std::fill(gradient.begin(), gradient.end(), 0.0);
      return std::numeric_limits<double>::infinity();
    }
    parameters_.differentiate(x, derivative(), gradient);
    return -(metric - level_.metricOfChance()) / level_.metricUnit();
  }

 private:
  MatrixDerivative derivative() const {
    const VolumeFrame& reference = level_.referenceFrame();
    const double* by = byControls_.data();
    MatrixDerivative derivative;
    for (int c = 0; c < 3; ++c, by += tables_.controlCount()) {
      const double size = voxelSizeAlong(level_.modelFrame(), c);
      const double unit = -1.0 / (size * level_.metricUnit());
      derivative.byShift[c] = by[TensorTables::shiftControl] * unit;
      for (int a = 0; a < 3; ++a) {
        const double fromCentre =
            static_cast<double>(reference.box.min(a)) - parameters_.centre()[a];
        derivative.byLinear[a][c] =
            (fromCentre * by[TensorTables::shiftControl] +
             static_cast<double>(reference.voxelSize[a]) * by[TensorTables::axisControl[a]]) *
            unit;
      }
    }
    return derivative;
  }

  SearchLevel& level_;
  const MatrixParameters& parameters_;
  TensorTables tables_;
  std::vector<double> byControls_;
};

}  // namespace

NmMat4d MatrixSearch::run(SearchSummary& summary) const {
  const NmWatch watch(true);
  NmMat4d matrix = start;
  std::vector<int> present = stages;
  const int numSearches = static_cast<int>(levels.size() + stages.size()) - 1;
  int search = 0;
  for (const LevelFactors& factors : levels) {
    summary.interrupted = summary.interrupted || wantsToStop(progress);
    if (summary.interrupted) break;
    SearchLevel level(reference, model, factors, comparison);
    if (level.isLarge()) level.sampleSome();
    const Moments moments = momentsOf(level);
    for (const int degreesOfFreedom : present) {
      if (summary.interrupted) break;
      const MatrixParameters parameters(degreesOfFreedom, matrix, moments.centre, moments.spread);
      MatrixObjective objective(level, parameters);
      std::vector<double> x(static_cast<std::size_t>(degreesOfFreedom), 0.0);
      Lbfgs::Options options;
      options.mostIterations = mostIterations;
      options.relativeGain = relativeGain;
      options.firstMove = level.finestVoxel();
      SearchReport report(progress, search++, numSearches, mostIterations);
      summary.add(Lbfgs(options).minimise(std::ref(objective), std::ref(report), x));
      report.close();
      matrix = parameters.matrixAt(x);
    }
    present = {stages.back()};
  }
  summary.seconds += static_cast<double>(watch.getTime());
  return matrix;
}

}  // namespace voxreg::detail
