#pragma once

/// The metrics available to a registration (RegVoxelRegistration::metricKind).
enum RegMetricKind : unsigned int {
  RegMetricNormMutualInformation = 0,
  RegMetricSimpleMutualInformation = 1,
  RegMetricMeanSquaredDifference = 2,
  RegMetricCorrelationRatio = 3
};
