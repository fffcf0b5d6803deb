#include <algorithm>
#include <cstdint>
#include <memory>

#include "foundation/NmLogFile.h"
#include "foundation/NmProgressInterface.h"
#include "foundation/NmString.h"
#include "foundation/numbers/elementary.h"
#include "functional/RegFunctional.h"
#include "optimizers/RegGradientOptimizer.h"
#include "registration/RegStageCode.h"
#include "registration/RegVoxelRegistration.h"
#include "registration/levelSteps.h"
#include "transforms/RegAffineTransform.h"

namespace {

/// Brings a transform up to date with its parameters, without an evaluation.
void applyParameters(RegParametricTransform* transform) {
  if (auto* affine = dynamic_cast<RegAffineTransform*>(transform))
    affine->apply();
  else if (auto* nonAffine = dynamic_cast<RegNonAffineTransform*>(transform))
    nonAffine->apply();
}

/// Adds what a functional does while this lives to the counts of a registration.
class SearchCount {
 public:
  SearchCount(const RegFunctional* functional, std::int64_t& evaluations, std::int64_t& gradients)
      : functional_(functional), evaluations_(evaluations), gradients_(gradients) {
    if (functional_ == nullptr) return;
    evaluations_ -= functional_->numEvaluations;
    gradients_ -= functional_->numGradients;
  }
  SearchCount(const SearchCount&) = delete;
  SearchCount& operator=(const SearchCount&) = delete;
  ~SearchCount() {
    if (functional_ == nullptr) return;
    evaluations_ += functional_->numEvaluations;
    gradients_ += functional_->numGradients;
  }

 private:
  const RegFunctional* functional_;
  std::int64_t& evaluations_;
  std::int64_t& gradients_;
};

}  // namespace

bool RegVoxelRegistration::doRegistration() {
  const bool result = initRegistration() != 0 && runLevels();
  doneRegistration();
  return result;
}

bool RegVoxelRegistration::runLevels() {
  const int n = static_cast<int>(functionals->size);
  const int ignoreFinest = n > 2 ? n - 2 : 0;
  const int active = n - ignoreFinest;
  voxreg::detail::LevelSteps steps(stepRange, levelRatio, n);
  if (n >= 2) getTheLogInstance().printf("num levels: %d, ignore %d finest", n, ignoreFinest);
  logCurrentAffineTransform();
  int gradientCount = 0;
  for (int level = 0; level < active; ++level) {
    std::unique_ptr<RegFunctional> functional(functionals->pop());
    if (functional == nullptr) break;
    if (level > 0 && level >= static_cast<std::int64_t>(active) - numGradientLevels) {
      startGradientLevel(gradientCount++);
      steps.startGradientSearch();
    }
    transform = functional->transform;
    if (optimizer != nullptr) {
      optimizer->setFunctional(functional.get());
      if (!doResolution(level, n, ignoreFinest, functional.get(), steps.max, steps.min)) {
        functional.release();  // NOLINT(bugprone-unused-return-value): it is deleted already
        return false;
      }
      optimizer->setFunctional(nullptr);
    }
    logCurrentAffineTransform();
    steps.advance();
  }
  return true;
}

// Each further gradient level is searched ten times less closely.
void RegVoxelRegistration::startGradientLevel(int gradientLevelsBefore) {
  delete optimizer;
  optimizer = nullptr;
  const double tolerance =
      static_cast<double>(gradientStep) * voxreg::detail::power(10.0, gradientLevelsBefore);
  optimizer = createGradientOptimizer(static_cast<float>(tolerance));
}

bool RegVoxelRegistration::doResolution(int level, int numLevels, int ignoreFinest,
                                        RegFunctional* functional, float maxStep, float minStep) {
  enterResolution(level, numLevels, ignoreFinest);
  const bool isFinest = level == numLevels - 1;
  const bool isLastRun = ignoreFinest != 0 && level == numLevels - 1 - ignoreFinest;
  for (int stage = currentStage(); stage >= 0; stage = currentStage()) {
    const int freedoms = prepareStage(stage, isFinest || isLastRun, functional);
    if (freedoms > 0) {
      showStage(level + 1, numLevels - ignoreFinest, freedoms);
      if (!search(maxStep, minStep)) {
        if (optimizer != nullptr) optimizer->setFunctional(nullptr);
        delete functional;
        return false;
      }
    }
    leaveStage();
  }
  return true;
}

// False when interrupted; the search may then stand at any of its trials, so that the best point
// that it has evaluated is the result. A result belongs to its parameters: the transform follows.
bool RegVoxelRegistration::search(float maxStep, float minStep) {
  bool interrupted = false;
  if (optimizer != nullptr) {
    RegFunctional* const functional = optimizer->functional;
    const SearchCount count(functional, numEvaluations, numGradients);
    if (functional != nullptr) functional->startSearch();
    const double reached = optimizer->optimize(maxStep, minStep);
    interrupted = progress != nullptr && progress->wasInterrupted();
    if (!interrupted)
      finalMetric = reached;
    else if (functional != nullptr)
      functional->returnToBest(finalMetric);
    applyParameters(transform);
  }
  return !interrupted;
}

void RegVoxelRegistration::showStage(int level, int numLevels, int degreesOfFreedom) {
  if (progress == nullptr) return;
  const NmString caption(0, "Registering at resolution level %d out of %d (DOF = %d)", level,
                         numLevels, degreesOfFreedom);
  progress->setProgressInfo(caption.data);
}

int RegVoxelRegistration::prepareStage(int stage, bool runNonAffine, RegFunctional* functional) {
  if (!RegStageCode::isGrid(stage)) return prepareAffineStage(stage, functional);
  return runNonAffine ? prepareNonAffineStage(stage, functional) : 0;
}

int RegVoxelRegistration::prepareAffineStage(int degreesOfFreedom, RegFunctional* functional) {
  if (dynamic_cast<RegAffineTransform*>(transform) == nullptr)
    replaceTransform(false, NmVec3i(), functional);
  auto* const affine = dynamic_cast<RegAffineTransform*>(transform);
  if (affine == nullptr) return 0;
  affine->setDegreesOfFreedom(degreesOfFreedom);
  return degreesOfFreedom;
}

// A transform without vertices, which only a start box at the limits of float leaves, has nothing
// to search. A present transform limits the counts of the stage in place; a new one keeps its limit
// to itself.
int RegVoxelRegistration::prepareNonAffineStage(int code, RegFunctional* functional) {
  NmVec3i numBricks = RegStageCode::gridOf(code);
  if (auto* const present = dynamic_cast<RegNonAffineTransform*>(transform))
    present->setNumBricks(numBricks);
  else
    replaceTransform(true, numBricks, functional);
  auto* const nonAffine = dynamic_cast<RegNonAffineTransform*>(transform);
  if (nonAffine == nullptr || !nonAffine->hasVertices()) return 0;
  return RegStageCode::freedomsOf(numBricks);
}

void RegVoxelRegistration::replaceTransform(bool nonAffine, const NmVec3i& numBricks,
                                            RegFunctional* functional) {
  createTransform(nonAffine, numBricks);
  if (functional != nullptr) functional->transform = transform;
  if (optimizer != nullptr) optimizer->setFunctional(functional);
}

void RegVoxelRegistration::enterResolution(int level, int numLevels, int ignoreFinest) {
  if (currentStage() < 0) dofIndex = 0;
  if (optimizer == nullptr) return;
  const int stages = static_cast<int>(std::max<std::int64_t>(dofSchedule.size - 1, 0));
  const bool ignores = ignoreFinest > 0 && numLevels > ignoreFinest;
  optimizer->levelNumber = level + 1;
  optimizer->numLevels = ignores ? numLevels - ignoreFinest : numLevels;
  optimizer->stageNumber = stages * level + 1;
  optimizer->numStages = stages * optimizer->numLevels;
}

bool RegVoxelRegistration::doneResolution(int, int) {
  leaveStage();
  return currentStage() < 0;
}

void RegVoxelRegistration::leaveStage() {
  if (optimizer != nullptr) ++optimizer->stageNumber;
  ++dofIndex;
}

// The end mark also stands for any position beside the schedule.
int RegVoxelRegistration::currentStage() const {
  return dofIndex >= 0 && dofIndex < dofSchedule.size ? dofSchedule[dofIndex] : -1;
}
