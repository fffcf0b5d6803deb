#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "foundation/VlMemoryData.h"
#include "functional/RegFunctional.h"
#include "metrics/RegMetric.h"
#include "transforms/RegAffineTransform.h"

using Point = std::vector<double>;

/// A metric whose value is a function of the transform's parameters, so that a search can be
/// followed through a landscape that is known exactly. It records where it was evaluated.
class AnalyticMetric : public RegMetric {
 public:
  AnalyticMetric(RegParametricTransform& transform, std::function<double(const Point&)> landscape)
      : transform_(transform), landscape_(std::move(landscape)) {}

  std::vector<Point> trials;

  double getResult() override {
    trials.emplace_back(transform_.params.data, transform_.params.data + transform_.params.size);
    return landscape_(trials.back());
  }
  double decrementIncrementAndGetResult() override { return getResult(); }

 private:
  RegParametricTransform& transform_;
  std::function<double(const Point&)> landscape_;
};

/// A functional over such a landscape; its volumes only give it an extent.
class AnalyticProblem {
 public:
  explicit AnalyticProblem(std::function<double(const Point&)> landscape, int freeParameters = 3)
      : volumes_(smallVolume()),
        transform(volumes_, volumes_[0].get(), NmMat4f(), freeParameters),
        metric(new AnalyticMetric(transform, std::move(landscape))),
        functional(volumes_, volumes_, -1, true, &transform, metric, nullptr, 3, 1) {}

 private:
  static NmDArray<NmHandle<VlData>> smallVolume() {
    const NmHandle<VlMemoryData> volume(new VlMemoryData(nullptr));
    volume->init(NmVec3l(5, 5, 5), NmPrimType::Float, 1, true, true, true);
    NmHandle<VlData> handle(volume);
    NmDArray<NmHandle<VlData>> volumes;
    volumes.insert(0, 1, &handle);
    return volumes;
  }

  NmDArray<NmHandle<VlData>> volumes_;

 public:
  RegAffineTransform transform;
  AnalyticMetric* metric;  ///< owned by the functional
  RegFunctional functional;
};
