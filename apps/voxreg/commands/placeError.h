#pragma once

#include <vector>

namespace host {

/// Distances between where a result maps points and where they belong, millimetres.
struct PlaceError {
  double mean = 0.0;
  double percentile95 = 0.0;
  double maximum = 0.0;
};

/// Zeros if there are no distances.
PlaceError placeErrorOf(std::vector<double> distances);

}  // namespace host
