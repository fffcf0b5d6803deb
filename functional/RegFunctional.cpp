#include "functional/RegFunctional.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <limits>

#include "foundation/NmLogFile.h"
#include "foundation/sampling/voxelBlock.h"
#include "foundation/voxels/volumeFrame.h"
#include "foundation/voxels/voxelTypes.h"
#include "functional/families/metricFamily.h"
#include "metrics/RegMetric.h"
#include "transforms/RegAffineTransform.h"
#include "transforms/RegNonAffineTransform.h"
#include "transforms/RegTools.h"
#include "transforms/voxelAxis.h"

namespace {

using voxreg::detail::allVoxels;
using voxreg::detail::boxOf;
using voxreg::detail::dimsOf;
using voxreg::detail::voxelTypeIndex;
using voxreg::detail::WalkFrame;
using voxreg::detail::withVoxelType;

VlData* first(const NmDArray<NmHandle<VlData>>& volumes) {
  return volumes.size > 0 ? volumes[0].get() : nullptr;
}

double bytesOf(const VlData& volume) {
  const NmVec3l dims = volume.dims();
  double bytes = 0.0;
  voxreg::detail::withVoxelType(volume.primType(), [&]<class T>() { bytes = sizeof(T); });
  return static_cast<double>(dims.x) * static_cast<double>(dims.y) * static_cast<double>(dims.z) *
         bytes;
}

NmHandle<VlDataAccess> lockForReading(VlData* volume) {
  if (volume == nullptr) return {};
  if (volume->numDataVars() != 1)
    getTheLogInstance().errorf("RegFunctional: a volume of %d data variables cannot be registered",
                               volume->numDataVars());
  return volume->lock(false);
}

/// True for a volume that the kernels can walk: it is the locked one, its voxels are in one block,
/// and it has one data variable.
bool isWalkable(const VlData* volume, const VlData* locked, const VlDataAccess* access) {
  return volume != nullptr && volume == locked && volume->numDataVars() == 1 &&
         voxreg::detail::blockOf(access) != nullptr;
}

/// Bounds of the positions whose samples count: half a voxel around the model, and no limit on an
/// axis of one voxel without extent.
void setBounds(WalkFrame& frame, const NmBox3f& modelBox) {
  for (int axis = 0; axis < 3; ++axis) {
    const int n = frame.modelDims[axis];
    const bool limited = n >= 2 || modelBox.extent(axis) > 0.0f;
    frame.bounds[axis][0] = limited ? -0.5 : 0.0;
    frame.bounds[axis][1] = limited ? std::max(n - 1, 0) + 0.5 : 0.0;
  }
}

/// Per model axis, the direction in which a row moves: 1, -1, 2 for (almost) no movement, 0 for no
/// clip.
void setSigns(WalkFrame& frame, const NmVec3d& wholeRow) {
  const double length =
      std::sqrt(wholeRow.x * wholeRow.x + wholeRow.y * wholeRow.y + wholeRow.z * wholeRow.z);
  for (int axis = 0; axis < 3; ++axis) {
    if (!(frame.bounds[axis][0] < frame.bounds[axis][1])) continue;
    const double along = length != 0.0 ? wholeRow[axis] / length : wholeRow[axis];
    frame.signs[axis] = along > 1.0e-5 ? 1 : along < -1.0e-5 ? -1 : 2;
  }
}

/// Sets the position of reference voxel (0, 0, 0) and the steps per voxel; returns the change over
/// the whole extent of a row.
NmVec3d setPositions(WalkFrame& frame, const NmMat4d& worldToPosition, const NmBox3f& box) {
  NmVec3d start;
  worldToPosition.multVecMatrix(NmVec3d(box.xmin, box.ymin, box.zmin), start);
  NmVec3d wholeRow;
  for (int axis = 0; axis < 3; ++axis) {
    frame.start[axis] = start[axis];
    NmVec3d extent;
    extent[axis] = box.extent(axis);
    NmVec3d whole;
    worldToPosition.multDirMatrix(extent, whole);
    if (axis == 0) wholeRow = whole;
    for (int k = 0; k < 3; ++k)
      frame.step[axis][k] = whole[k] / std::max(frame.referenceDims[axis] - 1, 1);
  }
  return wholeRow;
}

/// -1 for a type that no kernel supports.
int kernelIndexOf(NmPrimType type) {
  int index = -1;
  withVoxelType(type, [&]<class T>() { index = voxelTypeIndex<T>; });
  return index;
}

}  // namespace

RegFunctional::RegFunctional(const NmDArray<NmHandle<VlData>>& referenceVolumes,
                             NmDArray<NmHandle<VlData>>& modelVolumes, int, bool,
                             RegParametricTransform* transformToMove, RegMetric* metricToOwn,
                             RegOptimizerCallback* callbackToAsk, int orientationCode,
                             int threadCount)
    : reference(referenceVolumes),
      model(modelVolumes),
      transform(transformToMove),
      metric(metricToOwn),
      callback(callbackToAsk),
      modelSize(RegTools::getBoundingBoxSize(first(model))),
      referenceAccess(lockForReading(first(reference))),
      modelAccess(lockForReading(first(model))),
      orientation(orientationCode),
      numThreads(threadCount),
      lockedReference_(first(reference)),
      lockedModel_(first(model)) {}

RegFunctional::~RegFunctional() {
  delete metric;
}

void RegFunctional::resetEval() {
  resetEval(dynamic_cast<RegNonAffineTransform*>(transform));
}

void RegFunctional::resetEval(RegNonAffineTransform* grid) {
  VlData* const volume = first(model);
  if (volume == nullptr) return;
  modelDims = dimsOf(*volume);
  const NmBox3f box = boxOf(*volume);
  double scale[3];
  for (int axis = 0; axis < 3; ++axis) {
    const double extent = box.extent(axis);
    scale[axis] = extent == 0.0 ? 0.0 : (modelDims[axis] - 1) / extent;
  }
  NmMat4d scaling;
  scaling.setScale(NmVec3d(scale[0], scale[1], scale[2]));
  worldToModel.setTranslate(NmVec3d(-static_cast<double>(box.xmin), -static_cast<double>(box.ymin),
                                    -static_cast<double>(box.zmin)));
  worldToModel.multRight(scaling);
  if (grid != nullptr)
    grid->setScaleToModel(NmVec3d(-static_cast<double>(box.xmin), -static_cast<double>(box.ymin),
                                  -static_cast<double>(box.zmin)),
                          scale[0], scale[1], scale[2]);
}

double RegFunctional::evaluate() {
  double penalty = 0.0;
  double time = 0.0;
  return evaluate(true, nullptr, -1, false, nullptr, nullptr, penalty, time);
}

double RegFunctional::evaluate(bool update, const NmBox3i* box, int vertex, bool marginal,
                               RegNonAffineTransform* nonAffine, RegMetric* boxMetric,
                               double& penalty, double& time) {
  if (update) {
    if (auto* const affine = dynamic_cast<RegAffineTransform*>(transform)) affine->apply();
    if (auto* const grid = dynamic_cast<RegNonAffineTransform*>(transform)) grid->apply();
  }
  const double value = evaluateNoClip(box, vertex, marginal, nonAffine, boxMetric, penalty, time);
  if (update && box == nullptr) remember(value);
  return value;
}

void RegFunctional::startSearch() {
  best_ = BestEvaluation{};
  if (transform != nullptr) best_->params.remax(transform->params.size, 0);
}

void RegFunctional::remember(double value) {
  if (!best_ || transform == nullptr) return;
  const bool keepsPresent = best_->exists && !std::isnan(best_->value);
  if (keepsPresent && !(value > best_->value)) return;
  best_->params = transform->params;
  best_->value = value;
  best_->exists = true;
}

bool RegFunctional::returnToBest(double& value) {
  if (!best_ || !best_->exists || transform == nullptr) return false;
  if (best_->params.size != transform->params.size) return false;
  transform->params = best_->params;
  value = best_->value;
  return true;
}

double RegFunctional::evaluateMarginal(const NmBox3i* box, int vertex, bool marginal,
                                       RegNonAffineTransform* nonAffine, RegMetric* boxMetric,
                                       double& penalty, double& time) {
  return evaluateNoClip(box, vertex, marginal, nonAffine, boxMetric, penalty, time);
}

double RegFunctional::evaluateNoClip(const NmBox3i* box, int vertex, bool marginal,
                                     RegNonAffineTransform* nonAffine, RegMetric* boxMetric,
                                     double& penalty, double& time) {
  penalty = 0.0;
  time = 0.0;
  if (box == nullptr) {
    worstBrick = -1;
    ++numEvaluations;
  }
  RegMetric* const accumulator = box != nullptr && boxMetric != nullptr ? boxMetric : metric;
  if (accumulator == nullptr) return 0.0;
  accumulator->reset();
  auto* const affine = dynamic_cast<RegAffineTransform*>(transform);
  RegNonAffineTransform* const grid = box != nullptr && nonAffine != nullptr
                                          ? nonAffine
                                          : dynamic_cast<RegNonAffineTransform*>(transform);
  resetEval(grid);
  if (affine == nullptr && grid == nullptr) return 0.0;
  if (!walkReferences(box, affine, grid, *accumulator)) {
    accumulator->reset();
    return 0.0;
  }
  double result = 0.0;
  if (box == nullptr || reference.size > 1)
    result = accumulator->getResult();
  else if (!marginal)
    result = accumulator->decrementIncrementAndGetResult();
  else
    accumulator->setOtherParams(RegMetricParamRemoved);
  if (grid != nullptr)
    penalty = regularityPenalty(*grid, box == nullptr ? -1 : vertex,
                                box == nullptr ? numThreads : 1, *accumulator, time);
  return result - penalty;
}

bool RegFunctional::canWalk() const {
  return isWalkable(first(model), lockedModel_, modelAccess) &&
         (reference.size == 0 || isWalkable(first(reference), lockedReference_, referenceAccess));
}

bool RegFunctional::canEvaluate() const {
  if (!canWalk() || !voxreg::detail::isServedVoxelType(model[0]->primType())) return false;
  const auto fits = [&](const NmHandle<VlData>& volume) {
    return volume != nullptr && voxreg::detail::isServedVoxelType(volume->primType()) &&
           bytesOf(*volume) <= bytesOf(*reference[0]);
  };
  return std::all_of(reference.data, reference.data + reference.size, fits);
}

bool RegFunctional::walkReferences(const NmBox3i* box, RegAffineTransform* affine,
                                   RegNonAffineTransform* grid, RegMetric& accumulator) {
  if (!canWalk()) return false;
  NmMat4d worldToPosition;
  if (affine != nullptr) {
    const RegAffineTransform* const inverse = affine->getInverse();
    if (inverse == nullptr) return false;
    worldToPosition = inverse->absoluteMatrix;
    worldToPosition.multRight(worldToModel);
  }
  for (std::int64_t i = 0; i < reference.size; ++i) {
    VlData* const volume = reference[i];
    if (volume == nullptr) return false;
    // Every walk reads the voxels of the first reference, whichever volume defines its grid.
    if (bytesOf(*volume) > bytesOf(*reference[0])) {
      getTheLogInstance().errorf("evaluateNoClip: reference %" PRId64 " is larger than the first",
                                 i);
      return false;
    }
    const NmVec3i dims = dimsOf(*volume);
    NmBox3i clip = allVoxels(dims);
    if (i == 0 && box != nullptr && reference.size == 1 && !box->isEmpty())
      clip = box->intersection(clip);
    else if (i == 0 && grid != nullptr && grid->referenceBox.volume() > 0.0f)
      clip = walkedBox(*volume, grid->referenceBox);
    if (i == 0 && grid != nullptr && !(grid->referenceBox.volume() > 0.0f))
      grid->adaptReferenceBoundingBox(boxOf(*volume));
    if (!walk(*volume, clip, worldToPosition, grid, box != nullptr ? 1 : numThreads, accumulator))
      return false;
  }
  return true;
}

// If no voxel is in the box, the nearest plane is walked.
NmBox3i RegFunctional::walkedBox(const VlData& volume, const NmBox3f& box) {
  const voxreg::detail::VolumeFrame frame(volume);
  int limits[3][2];
  for (int axis = 0; axis < 3; ++axis) {
    const voxreg::detail::VoxelAxis voxels(frame, axis);
    limits[axis][0] = voxels.firstFrom(box.min(axis));
    limits[axis][1] =
        std::max(voxels.lastUpTo(box.max(axis)), std::min(limits[axis][0], voxels.last()));
  }
  return {limits[0][0], limits[0][1], limits[1][0], limits[1][1], limits[2][0], limits[2][1]};
}

bool RegFunctional::walk(const VlData& volume, const NmBox3i& clip, const NmMat4d& worldToPosition,
                         const RegNonAffineTransform* grid, int numHistograms,
                         RegMetric& accumulator) const {
  const VlData& modelVolume = *model[0];
  WalkFrame frame = {};
  frame.reference = referenceAccess->dataPtr(0);
  frame.referenceType = kernelIndexOf(volume.primType());
  frame.box = clip;
  frame.model = modelAccess->dataPtr(0);
  frame.modelType = kernelIndexOf(modelVolume.primType());
  if (frame.referenceType < 0 || frame.modelType < 0) return false;
  const NmVec3i dims = dimsOf(volume);
  const NmVec3i sampledDims = dimsOf(modelVolume);
  for (int axis = 0; axis < 3; ++axis) {
    frame.referenceDims[axis] = dims[axis];
    frame.modelDims[axis] = sampledDims[axis];
  }
  setBounds(frame, boxOf(modelVolume));
  setSigns(frame, setPositions(frame, worldToPosition, boxOf(volume)));
  const voxreg::detail::MetricFamily* const family = voxreg::detail::familyOf(&accumulator);
  if (family == nullptr) return true;
  if (grid != nullptr)
    family->walkBricks(frame, *grid, accumulator, numHistograms, voxreg::detail::kernels());
  else
    family->walkAffine(frame, accumulator, numHistograms, voxreg::detail::kernels());
  return true;
}
