#include "optimizers/RegOptimizer.h"

#include <algorithm>
#include <cstdint>

#include "foundation/NmLogFile.h"
#include "functional/RegFunctional.h"
#include "optimizers/vectorArithmetic.h"
#include "transforms/RegParametricTransform.h"

RegOptimizer::RegOptimizer(RegOptimizerCallback* callbackToAsk) : callback(callbackToAsk) {}

RegOptimizer::~RegOptimizer() = default;

void RegOptimizer::setLevel(short levelToSet) {
  level = levelToSet;
}

void RegOptimizer::setFunctional(RegFunctional* functionalToSearch) {
  functional = functionalToSearch;
  transform = functional == nullptr ? nullptr : functional->transform;
}

bool RegOptimizer::canSearch(const char* operation) const {
  if (functional != nullptr && transform != nullptr) return true;
  getTheLogInstance().errorf("%s: There is no functional with a transform to search.", operation);
  return false;
}

int RegOptimizer::numFreeParameters() const {
  const std::int64_t held = transform->params.size;
  const std::int64_t free = transform->getVariableParamVectorDim();
  return static_cast<int>(std::clamp(free, std::int64_t{0}, held));
}

void RegOptimizer::getParamSteps(NmDVector<double>& steps) const {
  const NmVec3f size = functional->modelSize;
  NmVec3d sampling(size.x, size.y, size.z);
  steps.resize(numFreeParameters());
  for (int i = 0; i < static_cast<int>(steps.size); ++i)
    steps[i] = transform->getParamStep(i, &sampling);
  voxreg::detail::dropNonFinite(steps);
}
