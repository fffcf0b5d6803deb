#include "registration/RegVoxelRegistration.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "foundation/NmException.h"
#include "foundation/NmLogFile.h"
#include "foundation/NmProgressInterface.h"
#include "foundation/NmString.h"
#include "foundation/numbers/elementary.h"
#include "functional/RegFunctional.h"
#include "optimizers/RegGradientOptimizer.h"
#include "optimizers/RegOptimizer.h"
#include "registration/RegStageCode.h"
#include "registration/levelSteps.h"
#include "transforms/RegAffineTransform.h"

namespace {

void openTask(NmProgressInterface& progress) {
  std::string caption;
  try {
    caption = "Starting registration";
  } catch (const std::bad_alloc&) {
    throw NmMemoryException();
  }
  progress.startWorking(100, caption);
}

template <class T>
bool isFinite(const T* values, std::int64_t count) {
  return std::all_of(values, values + count, [](T value) { return std::isfinite(value); });
}

/// Updates a transform from its parameters, without an evaluation.
void applyParameters(RegParametricTransform* transform) {
  if (auto* affine = dynamic_cast<RegAffineTransform*>(transform))
    affine->apply();
  else if (auto* nonAffine = dynamic_cast<RegNonAffineTransform*>(transform))
    nonAffine->apply();
}

/// During its lifetime, adds a functional's work to the counts of a registration.
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

RegVoxelRegistration::RegVoxelRegistration(
    NmProgressInterface* progressToTell, bool rethrow, NmDArray<NmHandle<VlData>>& referenceVolumes,
    NmDArray<NmHandle<VlData>>& modelVolumes, int orientationCode, float minReference,
    float maxReference, float minimumModel, float maximumModel, int threads, unsigned int metric,
    unsigned int binsReference, unsigned int binsModel, const NmVec3i& coarsest,
    unsigned int modeOfDimensions, bool findCoverage, NmVec4i& affine, NmVec3i& nonAffine,
    bool keepCoarse, const NmVec2f& steps, int gradientLevels, float gradientTolerance,
    unsigned int searchKind, bool bestDirection, bool restricted)
    : reference(referenceVolumes),
      model(modelVolumes),
      restrictedMotion(restricted),
      orientation(orientationCode),
      progress(progressToTell),
      coarsestResampling(coarsest),
      keepCoarseAxis(keepCoarse),
      numThreads(std::max(threads, 1)),
      stepRange(steps),
      numGradientLevels(gradientLevels),
      gradientStep(gradientTolerance),
      optimizerKind(searchKind),
      bestDirectionFlag(bestDirection),
      calculateCoverage(findCoverage),
      metricKind(metric),
      minRef(minReference),
      maxRef(maxReference),
      minModel(minimumModel),
      maxModel(maximumModel),
      numBinsRef(binsReference),
      numBinsMod(binsModel),
      rethrowExceptions(rethrow),
      dimensionMode(modeOfDimensions),
      affineStages(affine),
      nonAffineStages(nonAffine) {}

RegVoxelRegistration::~RegVoxelRegistration() {
  doneRegistration();
  deleteTransform();
}

NmProgressInterface* RegVoxelRegistration::getProgressInterface() {
  return progress;
}

bool RegVoxelRegistration::hasVolumes() const {
  return reference.size > 0 && reference[0] != nullptr && model.size > 0 && model[0] != nullptr;
}

bool RegVoxelRegistration::compute(int mode) {
  if (busy != 0) return true;
  busy = 1;
  bool result = true;
  try {
    if (hasVolumes()) result = run(mode);
    result = harvest() && result;
  } catch (const NmException& exception) {
    leaveBrokenRun();
    return endByException(exception);
  } catch (...) {
    leaveBrokenRun();
    throw;
  }
  busy = 0;
  return result;
}

bool RegVoxelRegistration::run(int mode) {
  referenceClass = RegDataClassOrdinary;
  modelClass = RegDataClassOrdinary;
  functionalFlag = true;
  if (mode != 2) return true;
  finalMetric = 0.0;
  numEvaluations = 0;
  numGradients = 0;
  if (progress != nullptr) openTask(*progress);
  const bool result = doRegistration();
  if (progress != nullptr) progress->stopWorking();
  return result;
}

// False, with the start value unchanged, for a result that is not finite.
bool RegVoxelRegistration::harvest() {
  if (transform == nullptr || transformIsStale_) {
    deleteTransform();
    return true;
  }
  bool isResult = std::isfinite(finalMetric);
  if (const auto* affine = dynamic_cast<RegAffineTransform*>(transform)) {
    NmMat4f reached;
    affine->absoluteMatrix.getValue(reached);
    isResult = isResult && isFinite(&reached.m[0][0], 16);
    if (isResult) matrix = reached;
  } else if (auto* nonAffine = dynamic_cast<RegNonAffineTransform*>(transform)) {
    // Copies first, so that a start value remains intact if memory runs out.
    RegNonAffineTransform::NonAffineTransformDescriptor reached;
    nonAffine->getTransform(reached);
    isResult = isResult && isFinite(reached.vertices.data, reached.vertices.size);
    if (isResult) nonAffineResult = std::move(reached);
  }
  if (!isResult) getTheLogInstance().errorf("compute: The result is not finite.");
  deleteTransform();
  return isResult;
}

// The transform is at some trial point of a search: it is neither a result nor a start for the next
// run.
void RegVoxelRegistration::leaveBrokenRun() {
  transformIsStale_ = transform != nullptr;
  releaseFunctionals();
}

// The object is free again before the progress object is notified, which may throw.
bool RegVoxelRegistration::endByException(const NmException& exception) {
  busy = 0;
  if (progress != nullptr) progress->stopWorking();
  if (rethrowExceptions) throw NmException(exception);
  return true;
}

void RegVoxelRegistration::doneRegistration() {
  dofSchedule.clear();
  dofIndex = 0;
  releaseFunctionals();
  delete optimizer;
  optimizer = nullptr;
  delete functionals;
  functionals = nullptr;
}

// The stack's own destructor would leave one functional, and with it its locks.
void RegVoxelRegistration::releaseFunctionals() {
  if (optimizer != nullptr) optimizer->setFunctional(nullptr);
  while (functionals != nullptr && !functionals->isEmpty()) delete functionals->pop();
}

void RegVoxelRegistration::deleteTransform() {
  delete transform;
  transform = nullptr;
  transformModel_ = nullptr;
  transformIsStale_ = false;
}

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

// Each further gradient level has ten times the tolerance.
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

// False if interrupted. The search may then be at any of its trials, so the best point that it has
// evaluated is the result. A result includes its parameters: the transform is updated from them.
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

// A transform without vertices, which results only from a start box at the limits of float, has
// nothing to search. An existing transform limits the stage's counts in place; a new one applies
// its limit only to itself.
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

// The end marker also represents any position outside the schedule.
int RegVoxelRegistration::currentStage() const {
  return dofIndex >= 0 && dofIndex < dofSchedule.size ? dofSchedule[dofIndex] : -1;
}
