#include "foundation/VlEvaluator.h"

VlEvaluator::~VlEvaluator() = default;

void VlEvaluator::values(float* results) {
  value(results);
}

void VlEvaluator::sample(const float* x, const float* y, const float* z, long n, float outside,
                         float* results) {
  for (long i = 0; i < n; ++i) {
    results[i] = outside;
    if (setLocation({x[i], y[i], z[i]})) value(results + i);
  }
}
