#pragma once

/// The metrics that a registration can be asked for (RegVoxelRegistration::metricKind).
enum RegMetricKind : unsigned int {
  RegMetricNormMutualInformation = 0,
  RegMetricSimpleMutualInformation = 1,
  RegMetricMeanSquaredDifference = 2,
  RegMetricCorrelationRatio = 3
};
