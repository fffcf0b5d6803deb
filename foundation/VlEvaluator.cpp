#include "foundation/VlEvaluator.h"

#include <cstdint>

VlEvaluator::~VlEvaluator() = default;

void VlEvaluator::values(float* results) {
  value(results);
}

void VlEvaluator::sample(const float* x, const float* y, const float* z, std::int64_t n,
                         float outside, float* results) {
  for (std::int64_t i = 0; i < n; ++i) {
    results[i] = outside;
    if (setLocation({x[i], y[i], z[i]})) value(results + i);
  }
}
