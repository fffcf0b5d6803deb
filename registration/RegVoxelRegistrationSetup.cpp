#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>

#include "foundation/NmLogFile.h"
#include "foundation/NmProgressInterface.h"
#include "functional/RegFunctional.h"
#include "functional/families/metricFamily.h"
#include "metrics/RegMetric.h"
#include "optimizers/RegAggressiveDirectionOptimizer.h"
#include "optimizers/RegBestDirectionOptimizer.h"
#include "optimizers/RegBestNeighbourOptimizer.h"
#include "optimizers/RegGradientOptimizer.h"
#include "optimizers/RegSearchKind.h"
#include "registration/RegStageCode.h"
#include "registration/RegVoxelRegistration.h"

namespace {

constexpr int affineFreedoms[] = {3, 6, 7, 12};

bool isStep(float step) {
  return step > 0.0f && std::isfinite(step);
}

/// True for 1 to 99 bricks on each axis, of which the transform takes 32 at most.
bool isGrid(const NmVec3i& bricks) {
  for (int axis = 0; axis < 3; ++axis)
    if (bricks[axis] < 1 || bricks[axis] > RegStageCode::largestCount) return false;
  return true;
}

/// The axis of the fewest voxels, the lower one of equals.
int shortestAxis(const VlData& volume) {
  const NmVec3l dims = volume.dims();
  int shortest = 0;
  for (int axis = 1; axis < 3; ++axis)
    if (dims[axis] < dims[shortest]) shortest = axis;
  return shortest;
}

int largestOf(const NmVec4i& v) {
  return std::max({v.x, v.y, v.z, v.w});
}

int toCount(unsigned int n) {
  return static_cast<int>(std::min(n, static_cast<unsigned int>(std::numeric_limits<int>::max())));
}

const VlData* firstOf(const NmDArray<NmHandle<VlData>>& volumes) {
  return volumes.size < 1 ? nullptr : volumes[0].get();
}

}  // namespace

int RegVoxelRegistration::initRegistration() {
  doneRegistration();
  if (transformIsStale_) deleteTransform();
  maxCoverage = 1.0;
  if (!hasVolumes()) {
    getTheLogInstance().errorf("initRegistration: There is no reference or no model.");
    return 0;
  }
  if (transform == nullptr) createTransform();
  if (!resolveOrientation()) return 0;
  if (largestOf(affineStages) > 0) nonAffineStages = NmVec3i();
  if (!checkSettings() || !checkVolumes()) return 0;
  if (progress != nullptr) progress->setProgressInfo("Initializing");
  functionals = new RegStack<RegFunctional*>;
  if (calculateCoverage)
    calculateMaxCoverage();
  else
    maxCoverage = 0.0;
  if (!createFunctionals()) return 0;
  optimizer = createOptimizer();
  return createSchedule() ? 1 : 0;
}

bool RegVoxelRegistration::resolveOrientation() {
  if (orientation < 0) {
    getTheLogInstance().errorf("initRegistration: There is no orientation %d.", orientation);
    return false;
  }
  if (orientation != 3) return true;
  if (dimensionMode == 2) orientation = 4;
  if (dimensionMode == 0) orientation = shortestAxis(*reference[0]);
  return true;
}

bool RegVoxelRegistration::checkSettings() const {
  if (!isStep(stepRange.x) || !isStep(stepRange.y)) {
    getTheLogInstance().errorf("initRegistration: The step range must be finite and above 0.");
    return false;
  }
  const bool isMetric = voxreg::detail::metricRow(metricKind) == nullptr;
  if (isMetric || optimizerKind > RegSearchBestDirection) {
    getTheLogInstance().errorf("initRegistration: There is no %s of kind %u.",
                               isMetric ? "metric" : "search",
                               isMetric ? metricKind : optimizerKind);
    return false;
  }
  for (int i = 0; i < 3; ++i) {
    const int code = nonAffineStages[i];
    if (!RegStageCode::isGrid(code) || isGrid(RegStageCode::gridOf(code))) continue;
    getTheLogInstance().errorf("initRegistration: No grid of bricks has the code %d.", code);
    return false;
  }
  return true;
}

bool RegVoxelRegistration::checkVolumes() const {
  const auto refuse = [](const VlData* volume) {
    if (volume == nullptr || volume->numDataVars() == 1) return false;
    getTheLogInstance().errorf(
        "initRegistration: A volume of %d data variables cannot be registered.",
        volume->numDataVars());
    return true;
  };
  for (std::int64_t k = 0; k < reference.size; ++k)
    if (refuse(reference[k])) return false;
  return !refuse(model[0]);
}

bool RegVoxelRegistration::createFunctionals() {
  NmDArray<NmDArray<NmHandle<VlData>>> referenceLevels;
  NmDArray<NmDArray<NmHandle<VlData>>> modelLevels;
  if (!doResampling(referenceLevels, coarsestResampling, modelLevels)) return false;
  for (std::int64_t i = 0; i < referenceLevels.size; ++i) {
    std::unique_ptr<RegFunctional> functional(
        createFunctional(referenceLevels[i], modelLevels[i], 0, 0));
    if (functional == nullptr || !functional->canEvaluate()) {
      getTheLogInstance().errorf(
          "initRegistration: The volumes of a level cannot be walked, or a further reference is "
          "larger "
          "than the first.");
      return false;
    }
    functionals->push(functional.get());
    functional.release();  // NOLINT(bugprone-unused-return-value): the stack owns it now
  }
  return true;
}

RegFunctional* RegVoxelRegistration::createFunctional(NmDArray<NmHandle<VlData>>& referenceVolumes,
                                                      NmDArray<NmHandle<VlData>>& modelVolumes, int,
                                                      int) {
  std::unique_ptr<RegMetric> metric(createMetric(firstOf(referenceVolumes), firstOf(modelVolumes)));
  if (metric == nullptr) return nullptr;
  auto* const functional =
      new RegFunctional(referenceVolumes, modelVolumes, -1, functionalFlag, transform, metric.get(),
                        this, orientation, numThreads);
  metric.release();  // NOLINT(bugprone-unused-return-value): the functional owns it now
  return functional;
}

RegMetric* RegVoxelRegistration::createMetric(const VlData* referenceVolume,
                                              const VlData* modelVolume) const {
  if (referenceVolume == nullptr || modelVolume == nullptr) {
    getTheLogInstance().errorf("createFunctional: There is no reference or no model.");
    return nullptr;
  }
  const auto* const row = voxreg::detail::metricRow(metricKind);
  if (row == nullptr) {
    getTheLogInstance().errorf("createFunctional: There is no metric of kind %u.", metricKind);
    return nullptr;
  }
  return row->make({referenceVolume->primType(), modelVolume->primType(), minRef, maxRef, minModel,
                    maxModel, toCount(numBinsRef), toCount(numBinsMod), maxCoverage,
                    restrictedMotion});
}

RegOptimizer* RegVoxelRegistration::createOptimizer() {
  switch (optimizerKind) {
    case RegSearchAggressiveDirection:
      return new RegAggressiveDirectionOptimizer(this, 0.5f, 0.1f, orientation, restrictedMotion);
    case RegSearchBestNeighbour:
      return new RegBestNeighbourOptimizer(this, 0.5f, orientation);
    case RegSearchQuasiNewton:
      return createGradientOptimizer(gradientStep);
    case RegSearchConjugateGradients: {
      RegGradientOptimizer* const conjugate = createGradientOptimizer(gradientStep);
      conjugate->method = 1;
      return conjugate;
    }
    case RegSearchBestDirection:
      return new RegBestDirectionOptimizer(this, 0.5f, 1.0e-8f, bestDirectionFlag);
    default:
      getTheLogInstance().errorf("initRegistration: There is no search of kind %u.", optimizerKind);
      return nullptr;
  }
}

RegGradientOptimizer* RegVoxelRegistration::createGradientOptimizer(float tolerance) {
  return new RegGradientOptimizer(this, tolerance, restrictedMotion);
}

bool RegVoxelRegistration::createSchedule() {
  const auto append = [this](int stage) { dofSchedule.insert(dofSchedule.size, 1, &stage); };
  for (int i = 0; i < 4; ++i)
    if (affineStages[i] != 0) append(affineFreedoms[i]);
  if (dofSchedule.size == 0)
    for (int i = 0; i < 3; ++i)
      if (nonAffineStages[i] > 0) append(nonAffineStages[i]);
  if (dofSchedule.size == 0) {
    getTheLogInstance().errorf("Choose some class of registration!");
    return false;
  }
  append(-1);
  return true;
}
