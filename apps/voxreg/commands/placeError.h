#pragma once

#include <vector>

namespace host {

/// How far a result sends places from where they belong, millimetres.
struct PlaceError {
  double mean = 0.0;
  double percentile95 = 0.0;
  double maximum = 0.0;
};

/// Zeros where there is no distance.
PlaceError placeErrorOf(std::vector<double> distances);

}  // namespace host
