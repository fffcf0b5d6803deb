#include "functional/RegFunctional.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <limits>

#include "foundation/NmLogFile.h"
#include "foundation/voxels/voxelTypes.h"
#include "functional/reg_evaluateUniform.h"
#include "metrics/RegMetric.h"
#include "transforms/RegAffineTransform.h"
#include "transforms/RegNonAffineTransform.h"
#include "transforms/RegTools.h"
#include "transforms/voxelAxis.h"

namespace {

VlData* first(const NmDArray<NmHandle<VlData>>& volumes) {
  return volumes.size > 0 ? volumes[0].get() : nullptr;
}

NmVec3i dimsOf(const VlData& volume) {
  const NmVec3l dims = volume.dims();
  NmVec3i limited;
  for (int axis = 0; axis < 3; ++axis)
    limited[axis] =
        static_cast<int>(std::clamp<std::int64_t>(dims[axis], 0, std::numeric_limits<int>::max()));
  return limited;
}

NmBox3f boxOf(const VlData& volume) {
  NmBox3f box;
  volume.boundingBox(box);
  return box;
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
    getTheLogInstance().errorf("RegFunctional: a volume of %d data variables can not be registered",
                               volume->numDataVars());
  return volume->lock(false);
}

/// True for a volume whose voxels the kernels can walk: the one behind the access, in one block, of
/// one data variable.
bool isWalkable(const VlData* volume, const VlData* locked, const VlDataAccess* access) {
  return volume != nullptr && volume == locked && access != nullptr && volume->numDataVars() == 1 &&
         access->isContiguous() && access->dataPtr(0) != nullptr;
}

struct Bounds {
  double values[6];
};

/// Positions from which a sample counts: half a voxel around the model, and no limit at all on an
/// axis of one voxel without extent.
Bounds modelBounds(const NmVec3i& dims, const NmBox3f& box) {
  Bounds bounds = {};
  for (int axis = 0; axis < 3; ++axis) {
    const bool limited = dims[axis] >= 2 || box.extent(axis) > 0.0f;
    bounds.values[2 * axis] = limited ? -0.5 : 0.0;
    bounds.values[2 * axis + 1] = limited ? std::max(dims[axis] - 1, 0) + 0.5 : 0.0;
  }
  return bounds;
}

NmBox3i wholeGrid(const NmVec3i& dims) {
  return {0, dims.x - 1, 0, dims.y - 1, 0, dims.z - 1};
}

/// Per model axis, the direction in which a row moves: 1, -1, 2 for (almost) none, 0 for no clip.
NmVec3i signsOf(NmVec3d direction, const Bounds& bounds) {
  const double length =
      std::sqrt(direction.x * direction.x + direction.y * direction.y + direction.z * direction.z);
  NmVec3i signs;
  for (int axis = 0; axis < 3; ++axis) {
    if (!(bounds.values[2 * axis] < bounds.values[2 * axis + 1])) continue;
    const double along = length != 0.0 ? direction[axis] / length : direction[axis];
    signs[axis] = along > 1.0e-5 ? 1 : along < -1.0e-5 ? -1 : 2;
  }
  return signs;
}

}  // namespace

/// Where reference voxel (0, 0, 0) lies and what one voxel adds, in the positions that the kernels
/// take.
struct RegFunctional::WalkFrame {
  NmVec3d start;
  NmVec3d step[3];
  NmVec3d wholeRow;  ///< change over the whole extent of a row

  WalkFrame(const NmMat4d& worldToPosition, const NmBox3f& box, const NmVec3i& dims) {
    worldToPosition.multVecMatrix(NmVec3d(box.xmin, box.ymin, box.zmin), start);
    for (int axis = 0; axis < 3; ++axis) {
      NmVec3d extent;
      extent[axis] = box.extent(axis);
      NmVec3d whole;
      worldToPosition.multDirMatrix(extent, whole);
      if (axis == 0) wholeRow = whole;
      for (int k = 0; k < 3; ++k) step[axis][k] = whole[k] / std::max(dims[axis] - 1, 1);
    }
  }
};

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
    // Every walk reads the voxels of the first reference, whatever volume lends its grid.
    if (bytesOf(*volume) > bytesOf(*reference[0])) {
      getTheLogInstance().errorf("evaluateNoClip: reference %" PRId64 " is larger than the first",
                                 i);
      return false;
    }
    const NmVec3i dims = dimsOf(*volume);
    const NmBox3f worldBox = boxOf(*volume);
    NmBox3i clip = wholeGrid(dims);
    if (i == 0 && box != nullptr && reference.size == 1 && !box->isEmpty())
      clip = box->intersection(clip);
    else if (i == 0 && grid != nullptr && grid->referenceBox.volume() > 0.0f)
      clip = walkedBox(*volume, grid->referenceBox);
    if (i == 0 && grid != nullptr && !(grid->referenceBox.volume() > 0.0f))
      grid->adaptReferenceBoundingBox(worldBox);
    const WalkFrame frame(worldToPosition, worldBox, dims);
    if (!walk(*volume, *model[0], clip, frame, grid, box != nullptr ? 1 : numThreads, accumulator))
      return false;
  }
  return true;
}

// Where no voxel lies in the box, the nearest plane is walked all the same.
NmBox3i RegFunctional::walkedBox(const VlData& volume, const NmBox3f& box) {
  int limits[3][2];
  for (int axis = 0; axis < 3; ++axis) {
    const voxreg::detail::VoxelAxis voxels(boxOf(volume), volume.dims(), axis);
    limits[axis][0] = voxels.firstFrom(box.min(axis));
    limits[axis][1] =
        std::max(voxels.lastUpTo(box.max(axis)), std::min(limits[axis][0], voxels.last()));
  }
  return {limits[0][0], limits[0][1], limits[1][0], limits[1][1], limits[2][0], limits[2][1]};
}

bool RegFunctional::walk(VlData& volume, VlData& modelVolume, const NmBox3i& clip,
                         const WalkFrame& frame, RegNonAffineTransform* grid, int numHistograms,
                         RegMetric& accumulator) {
  const NmVec3i dims = dimsOf(volume);
  const NmVec3i sampledDims = dimsOf(modelVolume);
  const Bounds bounds = modelBounds(sampledDims, boxOf(modelVolume));
  const NmVec3i signs = signsOf(frame.wholeRow, bounds);
  const int modelExtents[3] = {sampledDims.x, sampledDims.y, sampledDims.z};
  bool served = false;
  const auto walkPair = [&]<class T, class U>() {
    reg_evaluateUniform(static_cast<const T*>(referenceAccess->dataPtr(0)),
                        static_cast<const U*>(modelAccess->dataPtr(0)), dims, clip, signs,
                        frame.start, frame.step[0], frame.step[1], frame.step[2], &accumulator,
                        bounds.values, modelExtents, grid, numHistograms);
    served = true;
  };
  voxreg::detail::withVoxelType(volume.primType(), [&]<class T>() {
    voxreg::detail::withVoxelType(modelVolume.primType(),
                                  [&]<class U>() { walkPair.template operator()<T, U>(); });
  });
  return served;
}
