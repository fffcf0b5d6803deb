#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "functional/RegFunctional.h"
#include "metrics/RegMetric.h"
#include "tests/support/LogCapture.h"
#include "tests/support/grids.h"
#include "tests/support/volumes.h"
#include "transforms/RegAffineTransform.h"
#include "transforms/RegNonAffineTransform.h"

using Point = std::vector<double>;
using Height = std::function<double(const Point&)>;

/// All parameters of an affine transform.
inline Point pointOf(const RegAffineTransform& transform) {
  return {transform.params.data, transform.params.data + transform.params.size};
}

/// The vertices of a grid of bricks, as its coefficients place them.
inline Point pointOf(const RegNonAffineTransform& grid) {
  const NmVec3i n = grid.numBricks;
  Point all;
  for (int v = 0; v < grid.vertexCount(); ++v) {
    const NmVec3d at(static_cast<double>(v % (n.x + 1)) / n.x,
                     static_cast<double>(v / (n.x + 1) % (n.y + 1)) / n.y,
                     static_cast<double>(v / ((n.x + 1) * (n.y + 1))) / n.z);
    const NmVec3d vertex = evaluated(grid, at);
    all.insert(all.end(), {vertex.x, vertex.y, vertex.z});
  }
  return all;
}

/// A metric whose value is a function of the point at which a transform stands, so that a search
/// can be followed through a landscape that is known exactly. It records where it was evaluated.
template <class Transform>
class AnalyticMetric : public RegMetric {
 public:
  AnalyticMetric(const Transform& transform, Height height)
      : transform_(transform), height_(std::move(height)) {}

  std::vector<Point> trials;

  double getResult() override {
    trials.push_back(pointOf(transform_));
    return height_(trials.back());
  }
  double decrementIncrementAndGetResult() override { return getResult(); }

 private:
  const Transform& transform_;
  Height height_;
};

/// It only gives the functionals an extent.
inline NmDArray<NmHandle<VlData>>& smallVolume() {
  static NmDArray<NmHandle<VlData>> volumes;
  const NmHandle<VlData> volume = makeVolume(NmVec3l(5, 5, 5), NmPrimType::Float);
  if (volumes.size == 0) volumes.insert(0, 1, &volume);
  return volumes;
}

/// A functional over such a landscape.
template <class Transform>
struct AnalyticFunctional {
  Transform transform;
  AnalyticMetric<Transform>* metric;  ///< owned by the functional
  RegFunctional functional;

  AnalyticFunctional(Height height, const Transform& start)
      : transform(start),
        metric(new AnalyticMetric<Transform>(transform, std::move(height))),
        functional(smallVolume(), smallVolume(), -1, true, &transform, metric, nullptr, 3, 1) {}
};

struct AnalyticProblem : AnalyticFunctional<RegAffineTransform> {
  explicit AnalyticProblem(Height height, int freeParameters = 3)
      : AnalyticFunctional(std::move(height), RegAffineTransform(smallVolume(), smallVolume()[0],
                                                                 NmMat4f(), freeParameters)) {}
};

/// The grid spans 1000 units per axis, so that the moves of a test are far from folding it.
struct GridProblem : AnalyticFunctional<RegNonAffineTransform> {
  GridProblem(Height height, const NmVec3i& bricks)
      : AnalyticFunctional(
            std::move(height),
            RegNonAffineTransform({NmBox3f(0, 1000, 0, 1000, 0, 1000), {}, {}}, bricks)) {}
};

/// A search of such a problem, which is made from its free parameters or bricks.
template <class Optimizer, class Problem = AnalyticProblem>
struct Searched : Problem {
  LogCapture log;
  Optimizer search;
  double value = 0.0;  ///< of the last run

  template <class Freedom, class... Arguments>
  Searched(Height height, const Freedom& freedom, Arguments... arguments)
      : Problem(std::move(height), freedom), search(arguments...) {
    search.setFunctional(&this->functional);
  }

  /// Runs the search.
  Point roadOf(float maxStep, float minStep) {
    this->metric->trials.clear();
    value = search.optimize(maxStep, minStep);
    return road();
  }

  /// The free parameters of all trials, one trial after the other.
  Point road() const {
    const auto free = static_cast<std::size_t>(search.transform->getVariableParamVectorDim());
    Point all;
    for (const Point& trial : this->metric->trials)
      all.insert(all.end(), trial.data(), trial.data() + free);
    return all;
  }
};
