#include "foundation/VlEvaluator.h"

VlEvaluator::~VlEvaluator() = default;

void VlEvaluator::values(float* results) {
  value(results);
}
