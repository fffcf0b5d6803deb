#include "transforms/RegParametricTransform.h"

RegParametricTransform::~RegParametricTransform() = default;

RegParametricTransform* RegParametricTransform::makeInverse() {
  return nullptr;
}
