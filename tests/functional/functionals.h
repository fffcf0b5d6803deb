#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "functional/RegFunctional.h"
#include "metrics/RegCorrelationRatio.h"
#include "metrics/RegNormMutualInformation.h"
#include "tests/support/LogCapture.h"
#include "tests/support/volumes.h"

inline std::unique_ptr<RegFunctional> makeFunctional(const Volumes& references, Volumes models,
                                                     RegParametricTransform* transform,
                                                     RegMetric* metric,
                                                     RegOptimizerCallback* callback = nullptr,
                                                     int orientation = 3) {
  return std::make_unique<RegFunctional>(references, models, -1, true, transform, metric, callback,
                                         orientation, 1);
}

/// Metrics that take reference values from 10 to 190 and model values from 5 to 195.
inline RegMetric* correlation() {
  return new RegCorrelationRatio(10, 190, 5, 195, 0.9, false);
}
template <class Metric = RegNormMutualInformation>
RegMetric* information() {
  const LogCapture quiet;
  return new Metric(NmPrimType::Float, NmPrimType::Float, 10, 190, 5, 195, 24, 20, 0.9, false);
}
