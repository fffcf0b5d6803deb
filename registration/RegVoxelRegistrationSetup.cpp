#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>

#include "foundation/NmLogFile.h"
#include "foundation/NmMat4d.h"
#include "foundation/NmProgressInterface.h"
#include "foundation/voxels/volumeFrame.h"
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
#include "registration/coverage.h"
#include "registration/levelVolumes.h"
#include "registration/samplingPlan.h"
#include "transforms/RegAffineTransform.h"
#include "transforms/RegTools.h"
#include "transforms/affineParameters.h"

using voxreg::detail::dimsOf;

namespace {

constexpr int affineFreedoms[] = {3, 6, 7, 12};

bool isStep(float step) {
  return step > 0.0f && std::isfinite(step);
}

/// True for 1 to 99 bricks on each axis; the transform itself takes at most 32.
bool isGrid(const NmVec3i& bricks) {
  for (int axis = 0; axis < 3; ++axis)
    if (bricks[axis] < 1 || bricks[axis] > RegStageCode::largestCount) return false;
  return true;
}

/// The axis with the fewest voxels; of equal ones, the lower.
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

/// The volume at an index of 0 or more, clamped to the array; null for an empty one.
VlData* volumeAt(const NmDArray<NmHandle<VlData>>& volumes, std::int64_t index) {
  return volumes.size < 1 ? nullptr : volumes[std::min(index, volumes.size - 1)].get();
}

using Descriptor = RegNonAffineTransform::NonAffineTransformDescriptor;

void widenIfFlat(float& min, float& max) {
  if (min > max) std::swap(min, max);
  if (min < max) return;
  min -= 0.5f;
  max += 0.5f;
}

/// The identity over a volume. A flat axis is given an extent, since a grid needs one.
Descriptor identityOver(const VlData& volume) {
  Descriptor start;
  start.box = voxreg::detail::boxOf(volume);
  widenIfFlat(start.box.xmin, start.box.xmax);
  widenIfFlat(start.box.ymin, start.box.ymax);
  widenIfFlat(start.box.zmin, start.box.zmax);
  return start;
}

NmVec3f centreOf(const NmDArray<NmHandle<VlData>>& volumes) {
  if (volumes.size < 1 || volumes[0] == nullptr) return {};
  return voxreg::detail::VolumeFrame(*volumes[0]).centre();
}

/// |v|^2 above which a line is logged (empirical).
bool isNoticeable(const NmVec3f& v) {
  return static_cast<double>(v.x * v.x + v.y * v.y + v.z * v.z) > 1.0e-6;
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
  std::unique_ptr<RegMetric> metric(
      createMetric(volumeAt(referenceVolumes, 0), volumeAt(modelVolumes, 0)));
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

void RegVoxelRegistration::createTransform() {
  createTransform(false, NmVec3i());
}

void RegVoxelRegistration::createTransform(bool nonAffine, const NmVec3i& numBricks) {
  std::unique_ptr<RegParametricTransform> created;
  if (!hasVolumes())
    getTheLogInstance().errorf("createTransform: There is no reference or no model.");
  else if (!nonAffine)
    created.reset(new RegAffineTransform(reference, model[0], matrix, 12));
  else if (nonAffineResult.box.volume() > 0.0f)
    created.reset(new RegNonAffineTransform(nonAffineResult, numBricks));
  else
    created.reset(new RegNonAffineTransform(identityOver(*reference[0]), numBricks));
  for (std::int64_t i = 0; functionals != nullptr && i < functionals->size; ++i) {
    RegFunctional* const functional = functionals->data[i];
    if (functional != nullptr) functional->transform = created.get();
  }
  deleteTransform();
  transform = created.release();
  if (transform != nullptr) transformModel_ = model[0];
}

void RegVoxelRegistration::decomposeMatrix(const NmMat4f& m, NmDVector<double>& params) {
  NmMat4d wide;
  wide.setValue(m);
  params.resize(voxreg::detail::affineParameterCount);
  RegTools::decomposeMatrix(wide, params);
}

void RegVoxelRegistration::composeMatrix(NmDVector<double>& params, NmMat4f& m) {
  voxreg::detail::completeAffineParameters(params);
  NmMat4d wide;
  RegTools::composeMatrix(params, wide);
  wide.getValue(m);
}

void RegVoxelRegistration::logCurrentAffineTransform() {
  const auto* affine = dynamic_cast<RegAffineTransform*>(transform);
  if (affine == nullptr) return;
  NmMat4f current;
  affine->absoluteMatrix.getValue(current);
  NmDVector<double> params;
  decomposeMatrix(current, params);
  const NmVec3f centre = centreOf(model);
  const NmVec3f moved = current.multDirMatrix(centre);
  NmVec3f translation;
  NmVec3f rotation;
  for (int i = 0; i < 3; ++i) {
    translation[i] = static_cast<float>(params[i]) + moved[i] - centre[i];
    rotation[i] = static_cast<float>(params[3 + i]);
  }
  if (!isNoticeable(translation) && !isNoticeable(rotation)) return;
  getTheLogInstance().printf("current trafo: translation %.3f %.3f %.3f   rotation %.3f %.3f %.3f",
                             translation.x, translation.y, translation.z, rotation.x, rotation.y,
                             rotation.z);
}

void RegVoxelRegistration::calculateMaxCoverage() {
  if (!hasVolumes()) return;
  const double byExtent = voxreg::detail::coverageByExtent(*reference[0], *model[0], orientation);
  if (byExtent < 1.0) maxCoverage = byExtent;
  const auto* const row = voxreg::detail::metricRow(metricKind);
  if (row == nullptr || !row->family.rangeIsCoverage) return;
  const auto inRange = voxreg::detail::shareInRange(*reference[0], minRef, maxRef);
  if (!inRange || !(maxCoverage > *inRange)) return;
  if (restrictedMotion) getTheLogInstance().printf("max coverage (range): %.3f", *inRange);
  maxCoverage = *inRange;
}

bool RegVoxelRegistration::doResampling(NmDArray<NmDArray<NmHandle<VlData>>>& referenceLevels,
                                        const NmVec3i& coarsest,
                                        NmDArray<NmDArray<NmHandle<VlData>>>& modelLevels) {
  return voxreg::detail::makeLevels(
      reference, model,
      {coarsest, keepCoarseAxis, largestOf(affineStages) > 0, affineStages != NmVec4i(), levelRatio,
       referenceClass, modelClass, numThreads},
      referenceLevels, modelLevels);
}

void RegVoxelRegistration::downsample(const NmHandle<VlData>& source, NmHandle<VlData>& result,
                                      const NmVec3i& factors, RegDataClass dataClass) {
  const NmHandle<VlData> made =
      voxreg::detail::reducedVolume(source, factors, dataClass, numThreads);
  if (made != nullptr) result = made;
}

int RegVoxelRegistration::get2DOrientation(const NmVec3i& a, const NmVec3i& b) {
  return voxreg::detail::flatAxisOf(a, b);
}

int RegVoxelRegistration::get2DOrientation(VlData* a, VlData* b) {
  return a == nullptr || b == nullptr ? -1 : voxreg::detail::flatAxisOf(dimsOf(*a), dimsOf(*b));
}

int RegVoxelRegistration::get2DOrientation(NmDArray<NmHandle<VlData>>& referenceVolumes,
                                           NmDArray<NmHandle<VlData>>& modelVolumes, int index) {
  return get2DOrientation(volumeAt(referenceVolumes, std::max(index, 0)),
                          volumeAt(modelVolumes, 0));
}

void RegVoxelRegistration::getMinDelta(NmDArray<NmHandle<VlData>>& referenceVolumes,
                                       NmDArray<NmHandle<VlData>>& modelVolumes, NmVec3f& delta,
                                       NmVec3i& axes, int which, int flatAxis) {
  const VlData* const volume = which > 0
                                   ? volumeAt(modelVolumes, 0)
                                   : volumeAt(referenceVolumes, -static_cast<std::int64_t>(which));
  const voxreg::detail::VoxelSizes sizes(volume, flatAxis);
  delta = sizes.delta;
  axes = sizes.axes;
}

NmVec3i RegVoxelRegistration::findIsotropicSampling(float target, const NmVec3f& delta,
                                                    const NmVec3i& base, const NmVec3i& limit) {
  return voxreg::detail::isotropicFactors(target, delta, base, limit);
}

NmVec3i RegVoxelRegistration::getSamplingModel(const NmVec3i& factors, const NmVec3f& deltaRef,
                                               const NmVec3f& deltaModel, int flatAxis) {
  return voxreg::detail::modelFactors(factors, deltaRef, deltaModel, flatAxis);
}

void RegVoxelRegistration::restrictCoarsestResampling(VlData* ref, VlData* modelVolume,
                                                      bool fixedLimit, NmVec3i& factors) {
  if (ref == nullptr) return;
  const NmVec3i dimsModel = modelVolume == nullptr ? NmVec3i() : dimsOf(*modelVolume);
  restrictCoarsestResampling(dimsOf(*ref), dimsModel, fixedLimit, factors);
}

void RegVoxelRegistration::restrictCoarsestResampling(const NmVec3i& dimsRef,
                                                      const NmVec3i& dimsModel, bool fixedLimit,
                                                      NmVec3i& factors) {
  voxreg::detail::limitCoarsest(dimsRef, dimsModel, fixedLimit, factors);
}

int RegVoxelRegistration::getNumBins(float min, float max, bool integerData) {
  return voxreg::detail::numBinsFor(min, max, integerData);
}
