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

double stretchOf(const NmMat4d& matrix, int axis) {
  return std::hypot(matrix.m[axis][0], matrix.m[axis][1], matrix.m[axis][2]);
}

/// Whether a matrix stretches the axes of a reference about as much as the one that the search
/// began with, and does not flatten them. Volumes that share little can gain by squeezing one of
/// them into a few voxels of the other. The limits are empirical, and far from what bodies differ
/// by.
bool isPlausible(const NmMat4d& matrix, const NmMat4d& start) {
  constexpr double mostStretch = 2.0;
  constexpr double leastVolume = 0.2;
  for (int a = 0; a < 3; ++a) {
    const double stretch = stretchOf(matrix, a) / stretchOf(start, a);
    if (!(stretch < mostStretch && stretch > 1.0 / mostStretch)) return false;
  }
  return matrix.det3() / start.det3() > leastVolume;
}

/// What becomes small: the level's cost, by the parameters of a matrix.
class MatrixObjective {
 public:
  MatrixObjective(SearchLevel& level, const MatrixParameters& parameters, const NmMat4d& start)
      : level_(level),
        parameters_(parameters),
        start_(start),
        tables_(level.referenceFrame()),
        byControls_(static_cast<std::size_t>(3 * tables_.controlCount())) {}

  double operator()(const std::vector<double>& x, std::vector<double>& gradient) {
    const NmMat4d matrix = parameters_.matrixAt(x);
    if (!isPlausible(matrix, start_)) {
      std::fill(gradient.begin(), gradient.end(), 0.0);
      return std::numeric_limits<double>::infinity();
    }
    tables_.setMatrix(matrix, level_.modelFrame());
    const double metric = level_.metric().evaluate(tables_.map(), byControls_.data());
    const double cost = level_.costOf(metric, byControls_.data(), byControls_.size());
    parameters_.differentiate(x, derivative(), gradient);
    if (cost < leastCost_) {
      leastCost_ = cost;
      bestMetric_ = metric;
    }
    return cost;
  }

  /// Where the cost was least.
  double bestMetric() const { return bestMetric_; }

 private:
  MatrixDerivative derivative() const {
    const VolumeFrame& reference = level_.referenceFrame();
    const double* by = byControls_.data();
    MatrixDerivative derivative;
    for (int c = 0; c < 3; ++c, by += tables_.controlCount()) {
      const double size = voxelSizeAlong(level_.modelFrame(), c);
      const double perMillimetre = 1.0 / size;
      derivative.byShift[c] = by[TensorTables::shiftControl] * perMillimetre;
      for (int a = 0; a < 3; ++a) {
        const double fromCentre =
            static_cast<double>(reference.box.min(a)) - parameters_.centre()[a];
        derivative.byLinear[a][c] =
            (fromCentre * by[TensorTables::shiftControl] +
             static_cast<double>(reference.voxelSize[a]) * by[TensorTables::axisControl[a]]) *
            perMillimetre;
      }
    }
    return derivative;
  }

  SearchLevel& level_;
  const MatrixParameters& parameters_;
  const NmMat4d& start_;
  TensorTables tables_;
  std::vector<double> byControls_;
  double leastCost_ = std::numeric_limits<double>::infinity();
  double bestMetric_ = RegMetric::noStatement;
};

}  // namespace

NmMat4d MatrixSearch::run(SearchSummary& summary) const {
  const NmWatch watch(true);
  NmMat4d matrix = start;
  std::vector<int> present = stages;
  const int numSearches = static_cast<int>(levels.size() + stages.size()) - 1;
  int search = 0;
  double bestShare = 0.0;
  for (const LevelFactors& factors : levels) {
    summary.interrupted = summary.interrupted || wantsToStop(progress);
    if (summary.interrupted) break;
    SearchLevel level(reference, model, factors, comparison);
    level.setBestShare(bestShare);
    if (level.isLarge()) level.sampleSome();
    const Moments moments = momentsOf(level);
    for (const int degreesOfFreedom : present) {
      if (summary.interrupted) break;
      const MatrixParameters parameters(degreesOfFreedom, matrix, moments.centre, moments.spread);
      MatrixObjective objective(level, parameters, start);
      std::vector<double> x(static_cast<std::size_t>(degreesOfFreedom), 0.0);
      Lbfgs::Options options;
      options.mostIterations = mostIterations;
      options.relativeGain = relativeGain;
      options.firstMove = level.finestVoxel();
      SearchReport report(progress, search++, numSearches, mostIterations);
      summary.add(Lbfgs(options).minimise(std::ref(objective), std::ref(report), x));
      summary.metric = objective.bestMetric();
      report.close();
      matrix = parameters.matrixAt(x);
    }
    present = {stages.back()};
    bestShare = level.bestShare();
  }
  summary.seconds += static_cast<double>(watch.getTime());
  return matrix;
}

}  // namespace voxreg::detail
