#pragma once

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "foundation/VlMemoryData.h"
#include "functional/RegFunctional.h"
#include "metrics/RegMetric.h"
#include "transforms/RegAffineTransform.h"
#include "transforms/RegNonAffineTransform.h"

using Point = std::vector<double>;

/// A metric whose value is a function of a point that it reads off the transform, so that a search
/// can be followed through a landscape that is known exactly. It records where it was evaluated.
class AnalyticMetric : public RegMetric {
 public:
  AnalyticMetric(std::function<Point()> position, std::function<double(const Point&)> landscape)
      : position_(std::move(position)), landscape_(std::move(landscape)) {}

  std::vector<Point> trials;

  double getResult() override {
    trials.push_back(position_());
    return landscape_(trials.back());
  }
  double decrementIncrementAndGetResult() override { return getResult(); }

 private:
  std::function<Point()> position_;
  std::function<double(const Point&)> landscape_;
};

inline NmDArray<NmHandle<VlData>> smallVolume() {
  const NmHandle<VlMemoryData> volume(new VlMemoryData(nullptr));
  volume->init(NmVec3l(5, 5, 5), NmPrimType::Float, 1, true, true, true);
  NmHandle<VlData> handle(volume);
  NmDArray<NmHandle<VlData>> volumes;
  volumes.insert(0, 1, &handle);
  return volumes;
}

/// A functional over such a landscape; its volumes only give it an extent.
class AnalyticProblem {
 public:
  explicit AnalyticProblem(std::function<double(const Point&)> landscape, int freeParameters = 3)
      : volumes_(smallVolume()),
        transform(volumes_, volumes_[0].get(), NmMat4f(), freeParameters),
        metric(new AnalyticMetric(
            [this] {
              return Point(transform.params.data, transform.params.data + transform.params.size);
            },
            std::move(landscape))),
        functional(volumes_, volumes_, -1, true, &transform, metric, nullptr, 3, 1) {}

 private:
  NmDArray<NmHandle<VlData>> volumes_;

 public:
  RegAffineTransform transform;
  AnalyticMetric* metric;  ///< owned by the functional
  RegFunctional functional;
};

/// The same over the vertices of a grid of bricks, as its coefficients place them. It spans 1000
/// units per axis, so that the moves of a test are far from folding it.
class GridProblem {
 public:
  GridProblem(const NmVec3i& bricks, std::function<double(const Point&)> landscape)
      : volumes_(smallVolume()),
        transform({NmBox3f(0, 1000, 0, 1000, 0, 1000), NmVec3i(), {}}, bricks),
        metric(new AnalyticMetric([this] { return vertices(); }, std::move(landscape))),
        functional(volumes_, volumes_, -1, true, &transform, metric, nullptr, 3, 1) {}

  Point vertices() const {
    const NmVec3i n = transform.numBricks;
    Point all;
    for (int k = 0; k <= n.z; ++k)
      for (int j = 0; j <= n.y; ++j)
        for (int i = 0; i <= n.x; ++i) appendVertex(NmVec3i(i, j, k), all);
    return all;
  }

 private:
  /// A brick's corner is the sum of the terms whose monomial is 1 there.
  void appendVertex(const NmVec3i& at, Point& all) const {
    const NmVec3i n = transform.numBricks;
    const NmVec3i brick(std::min(at.x, n.x - 1), std::min(at.y, n.y - 1), std::min(at.z, n.z - 1));
    const int corner = (at.x - brick.x) + 2 * (at.y - brick.y) + 4 * (at.z - brick.z);
    const long first = 24L * (brick.x + n.x * (brick.y + n.y * brick.z));
    for (int c = 0; c < 3; ++c) {
      all.push_back(0.0);
      for (int t = 0; t < 8; ++t)
        if ((t & corner) == t) all.back() += transform.coefficients[first + 3 * t + c];
    }
  }

  NmDArray<NmHandle<VlData>> volumes_;

 public:
  RegNonAffineTransform transform;
  AnalyticMetric* metric;  ///< owned by the functional
  RegFunctional functional;
};
