#include "phantoms/randomNumbers.h"

namespace host {

double uniform(std::mt19937& random, double low, double high) {
  return low + (high - low) * (static_cast<double>(random()) / 4294967295.0);
}

NmVec3d uniformVector(std::mt19937& random, double low, double high) {
  const double x = uniform(random, low, high);
  const double y = uniform(random, low, high);
  return {x, y, uniform(random, low, high)};
}

double normal(std::mt19937& random) {
  double sum = -6.0;
  for (int i = 0; i < 12; ++i) sum += uniform(random, 0.0, 1.0);
  return sum;
}

}  // namespace host
