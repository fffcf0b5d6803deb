#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "foundation/NmProgressInterface.h"
#include "foundation/voxels/voxelLines.h"
#include "resampling/RegBrickedResampler.h"
#include "resampling/clamped.h"

using voxreg::detail::clamped;

namespace {

/// Indices and weights of the voxels of one axis.
struct AxisLookup {
  const NmDArray<int>& indices;
  const NmDArray<float>& weights;

  /// True if there are voxels, an entry for each of them, and no index above `highest`.
  bool fits(int n, std::int64_t highest) const {
    if (n < 1 || indices.size < n || weights.size < n) return false;
    return std::all_of(indices.data, indices.data + n,
                       [=](int index) { return index >= -1 && index <= highest; });
  }
};

/// World positions of the voxels of one axis and where each is looked up in the grid. Outside the
/// grid a map continues with unit slope; inside it is unchanged bit for bit.
class AxisPlaces {
 public:
  AxisPlaces(const NmBox3f& voxelBox, const NmVec3i& dims, const NmBox3f& gridBox, int axis,
             bool clampToGrid) {
    const float size = voxelBox.getVoxelSize(NmVec3f(
        static_cast<float>(dims.x), static_cast<float>(dims.y), static_cast<float>(dims.z)))[axis];
    place_.resize(dims[axis]);
    lookedUp_.resize(dims[axis]);
    for (int i = 0; i < dims[axis]; ++i) {
      const float p = static_cast<float>(i) * size + voxelBox.min(axis);
      place_[i] = p;
      lookedUp_[i] = clampToGrid ? clamped(p, gridBox.min(axis), gridBox.max(axis)) : p;
    }
  }

  /// Mapped coordinates of the voxels first to last - 1 of this axis.
  void continueAlong(int first, int last, float* mapped) const {
    for (int i = first; i < last; ++i) mapped[i] = continued(mapped[i], place_[i], lookedUp_[i]);
  }

  /// Mapped coordinates of voxels first to last - 1 of a row that is voxel `index` of this axis.
  void continueAcross(int index, int first, int last, float* mapped) const {
    const float place = place_[index];
    const float lookedUp = lookedUp_[index];
    if (place == lookedUp) return;
    for (int i = first; i < last; ++i) mapped[i] = continued(mapped[i], place, lookedUp);
  }

 private:
  static float continued(float mapped, float place, float lookedUp) {
    return lookedUp == place ? mapped : place + mapped - lookedUp;
  }

  NmDArray<float> place_;
  NmDArray<float> lookedUp_;
};

NmVec3f between(const NmVec3f& lower, const NmVec3f& upper, float weight) {
  const float rest = 1.0f - weight;
  return {rest * lower.x + weight * upper.x, rest * lower.y + weight * upper.y,
          rest * lower.z + weight * upper.z};
}

/// out[i] between nodes[i] and nodes[i + stride].
void interpolate(const NmVec3f* nodes, std::int64_t stride, float weight, NmDArray<NmVec3f>& out) {
  for (std::int64_t i = 0; i < out.size; ++i) out[i] = between(nodes[i], nodes[i + stride], weight);
}

/// Mapped positions of one row of voxels, axis by axis, as samplers take them.
struct PositionRow {
  NmDArray<float> coordinates[3];

  explicit PositionRow(std::int64_t n) {
    for (NmDArray<float>& axis : coordinates) axis.resize(n);
  }
  NmVec3f at(std::int64_t i) const {
    return {coordinates[0][i], coordinates[1][i], coordinates[2][i]};
  }
  void put(std::int64_t i, const NmVec3f& position) {
    for (int axis = 0; axis < 3; ++axis) coordinates[axis][i] = position[axis];
  }
};

bool isIdentity(const NmMat4f& matrix) {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      if (matrix.m[i][j] != (i == j ? 1.0f : 0.0f)) return false;
  return true;
}

/// Positions through a matrix. The identity changes only positions that are not finite: they become
/// NaN, like the products of zero and infinity.
void transform(const NmMat4f& matrix, bool isIdentityMatrix, int first, int last,
               PositionRow& row) {
  if (!isIdentityMatrix) {
    for (int i = first; i < last; ++i) {
      NmVec3f position;
      matrix.multVecMatrix(row.at(i), position);
      row.put(i, position);
    }
    return;
  }
  float* const x = row.coordinates[0].data;
  float* const y = row.coordinates[1].data;
  float* const z = row.coordinates[2].data;
  for (int i = first; i < last; ++i) {
    const float zeroOrNaN = (x[i] - x[i]) + (y[i] - y[i]) + (z[i] - z[i]);
    x[i] += zeroOrNaN;
    y[i] += zeroOrNaN;
    z[i] += zeroOrNaN;
  }
}

void clampTo(const NmBox3f& box, int first, int last, PositionRow& row) {
  for (int axis = 0; axis < 3; ++axis) {
    float* const coordinates = row.coordinates[axis].data;
    for (int i = first; i < last; ++i)
      coordinates[i] = clamped(coordinates[i], box.min(axis), box.max(axis));
  }
}

/// Nodes interpolated along z once per slice and along y once per row, which leaves one
/// interpolation along x for each voxel.
class NodeRow {
 public:
  NodeRow(const NmDArray<NmVec3f>& nodes, const NmVec3i& gridDims) : nodes_(nodes) {
    slice_.resize(static_cast<std::int64_t>(gridDims.x) * gridDims.y);
    row_.resize(gridDims.x);
  }

  void enterSlice(int index, float weight) {
    interpolate(nodes_.data + index, slice_.size, weight, slice_);
  }
  void enterRow(int index, float weight) {
    interpolate(slice_.data + index, row_.size, weight, row_);
  }
  NmVec3f at(int index, float weight) const {
    return between(row_[index], row_[index + 1], weight);
  }

 private:
  const NmDArray<NmVec3f>& nodes_;
  NmDArray<NmVec3f> slice_;
  NmDArray<NmVec3f> row_;
};

/// True if the lookups refer only to nodes of the grid.
bool areSound(const AxisLookup (&lookups)[3], const NmVec3i& dims, const NmVec3i& gridDims,
              std::int64_t numNodes) {
  if (gridDims.x < 2 || gridDims.y < 2 || gridDims.z < 2) return false;
  const std::int64_t inRow = gridDims.x;
  const std::int64_t inSlice = inRow * gridDims.y;
  if (numNodes % inSlice != 0 || numNodes / inSlice != gridDims.z) return false;
  return lookups[0].fits(dims.x, inRow - 2) && lookups[1].fits(dims.y, inSlice - 2 * inRow) &&
         lookups[2].fits(dims.z, numNodes - 2 * inSlice);
}

/// Samples the model row by row at the mapped positions.
class BrickedSampler {
 public:
  BrickedSampler(const NmVec3i& dims, const AxisLookup (&lookups)[3], const AxisPlaces (&places)[3],
                 const NmDArray<NmVec3f>& nodes, const NmVec3i& gridDims, const NmMat4f& matrix,
                 const NmBox3f* modelBox, float background, VlEvaluator& evaluator)
      : lookups_(lookups),
        places_(places),
        matrix_(matrix),
        matrixIsIdentity_(isIdentity(matrix)),
        modelBox_(modelBox),
        background_(background),
        evaluator_(evaluator),
        nodes_(nodes, gridDims),
        positions_(dims.x) {
    values_.resize(dims.x);
  }

  void enterSlice(int k) {
    k_ = k;
    const int index = lookups_[2].indices[k];
    if (index >= 0) nodes_.enterSlice(index, lookups_[2].weights[k]);
  }

  NmDArray<float>& sampleRow(int j) {
    std::fill(values_.data, values_.data + values_.size, background_);
    const int index = lookups_[1].indices[j];
    if (index < 0 || lookups_[2].indices[k_] < 0) return values_;
    nodes_.enterRow(index, lookups_[1].weights[j]);
    const int* const begin = lookups_[0].indices.data;
    const int* const end = begin + values_.size;
    const auto isInGrid = [](int i) { return i >= 0; };
    for (const int* first = begin; first < end;) {
      first = std::find_if(first, end, isInGrid);
      const int* const last = std::find_if_not(first, end, isInGrid);
      sampleRun(static_cast<int>(first - begin), static_cast<int>(last - begin), j);
      first = last;
    }
    return values_;
  }

 private:
  /// Voxels first to last - 1 of row j, all inside the grid.
  void sampleRun(int first, int last, int j) {
    for (int i = first; i < last; ++i)
      positions_.put(i, nodes_.at(lookups_[0].indices[i], lookups_[0].weights[i]));
    float* const x = positions_.coordinates[0].data;
    float* const y = positions_.coordinates[1].data;
    float* const z = positions_.coordinates[2].data;
    places_[0].continueAlong(first, last, x);
    places_[1].continueAcross(j, first, last, y);
    places_[2].continueAcross(k_, first, last, z);
    transform(matrix_, matrixIsIdentity_, first, last, positions_);
    if (modelBox_ != nullptr) clampTo(*modelBox_, first, last, positions_);
    evaluator_.sample(x + first, y + first, z + first, last - first, background_,
                      values_.data + first);
  }

  const AxisLookup (&lookups_)[3];
  const AxisPlaces (&places_)[3];
  const NmMat4f& matrix_;
  bool matrixIsIdentity_;
  const NmBox3f* modelBox_;
  float background_;
  VlEvaluator& evaluator_;
  NodeRow nodes_;
  PositionRow positions_;
  NmDArray<float> values_;
  int k_ = 0;
};

/// Writes sampled values as voxels.
template <class T>
struct VoxelWriter {
  bool isInteger;
  T lowest;
  T highest;

  void write(NmDArray<float>& values, T* voxels) const {
    if (isInteger != std::is_integral_v<T>)
      for (std::int64_t i = 0; i < values.size; ++i)
        values[i] = isInteger ? std::nearbyint(values[i]) : std::trunc(values[i]);
    voxreg::detail::writeVoxels(voxels, values.size, values.data);
    if (!isInteger || isWholeRange()) return;
    for (std::int64_t i = 0; i < values.size; ++i) {
      const T raised = voxels[i] < lowest ? lowest : voxels[i];
      voxels[i] = raised > highest ? highest : raised;
    }
  }

 private:
  bool isWholeRange() const {
    return lowest == std::numeric_limits<T>::lowest() && highest == std::numeric_limits<T>::max();
  }
};

/// Reports the percentage of slices that are done after slice k.
bool isInterrupted(NmProgressInterface* progress, int k, int numSlices) {
  if (progress == nullptr) return false;
  const float share = static_cast<float>(k + 1) / static_cast<float>(numSlices);
  // NOLINTNEXTLINE(bugprone-incorrect-roundings): a percentage is nowhere near the limits
  progress->setProgressValue(static_cast<int>(share * 100.0f + 0.5f));
  return progress->wasInterrupted();
}

}  // namespace

template <class T>
void brickedResampling(T* output, const NmVec3i& dims, NmBox3f& voxelBox, int /*numThreads*/,
                       float background, bool clampToGrid, bool clampToModel,
                       NmDArray<NmHandle<VlEvaluator>>& evaluators, NmVec3i& gridDims,
                       const NmBox3f& gridBox, NmDArray<NmVec3f>& nodes, NmDArray<int>& xIndices,
                       NmDArray<float>& xWeights, NmDArray<int>& yIndices,
                       NmDArray<float>& yWeights, NmDArray<int>& zIndices,
                       NmDArray<float>& zWeights, NmMat4f& matrix, NmBox3f& modelBox,
                       bool isInteger, T minValue, T maxValue, NmProgressInterface* progress) {
  const AxisLookup lookups[3] = {{xIndices, xWeights}, {yIndices, yWeights}, {zIndices, zWeights}};
  if (output == nullptr || evaluators.size < 1 || evaluators[0] == nullptr) return;
  if (!areSound(lookups, dims, gridDims, nodes.size)) return;
  const AxisPlaces places[3] = {{voxelBox, dims, gridBox, 0, clampToGrid},
                                {voxelBox, dims, gridBox, 1, clampToGrid},
                                {voxelBox, dims, gridBox, 2, clampToGrid}};
  BrickedSampler sampler(dims, lookups, places, nodes, gridDims, matrix,
                         clampToModel ? &modelBox : nullptr, background, *evaluators[0]);
  const VoxelWriter<T> writer = {isInteger, minValue, maxValue};
  for (int k = 0; k < dims.z; ++k) {
    if (isInterrupted(progress, k, dims.z)) continue;
    sampler.enterSlice(k);
    for (int j = 0; j < dims.y; ++j)
      writer.write(sampler.sampleRow(j),
                   output + (static_cast<std::int64_t>(k) * dims.y + j) * dims.x);
  }
}

// NOLINTBEGIN(bugprone-macro-parentheses): T is a type
#define VOXREG_BRICKED_RESAMPLING(T)                                                          \
  template void brickedResampling<T>(                                                         \
      T*, const NmVec3i&, NmBox3f&, int, float, bool, bool, NmDArray<NmHandle<VlEvaluator>>&, \
      NmVec3i&, const NmBox3f&, NmDArray<NmVec3f>&, NmDArray<int>&, NmDArray<float>&,         \
      NmDArray<int>&, NmDArray<float>&, NmDArray<int>&, NmDArray<float>&, NmMat4f&, NmBox3f&, \
      bool, T, T, NmProgressInterface*)
// NOLINTEND(bugprone-macro-parentheses)
VOXREG_BRICKED_RESAMPLING(unsigned char);
VOXREG_BRICKED_RESAMPLING(short);
VOXREG_BRICKED_RESAMPLING(int);
VOXREG_BRICKED_RESAMPLING(float);
VOXREG_BRICKED_RESAMPLING(double);
VOXREG_BRICKED_RESAMPLING(unsigned short);
#undef VOXREG_BRICKED_RESAMPLING
