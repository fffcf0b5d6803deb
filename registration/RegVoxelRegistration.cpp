#include "registration/RegVoxelRegistration.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>
#include <string>
#include <utility>

#include "foundation/NmException.h"
#include "foundation/NmLogFile.h"
#include "foundation/NmProgressInterface.h"
#include "functional/RegFunctional.h"
#include "optimizers/RegOptimizer.h"
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

// False, with the start value kept, for a result that is not finite.
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
    // By way of a copy, so that a start value stays whole if memory runs out.
    RegNonAffineTransform::NonAffineTransformDescriptor reached;
    nonAffine->getTransform(reached);
    isResult = isResult && isFinite(reached.vertices.data, reached.vertices.size);
    if (isResult) nonAffineResult = std::move(reached);
  }
  if (!isResult) getTheLogInstance().errorf("compute: The result is not finite.");
  deleteTransform();
  return isResult;
}

// The transform stands somewhere within a search now: it is no result, and no start for the next
// run.
void RegVoxelRegistration::leaveBrokenRun() {
  transformIsStale_ = transform != nullptr;
  releaseFunctionals();
}

// The object is free again before the progress object is told, which may throw.
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
