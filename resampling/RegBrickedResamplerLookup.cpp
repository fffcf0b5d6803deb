#include <algorithm>
#include <cstdint>
#include <limits>

#include "resampling/RegBrickedResampler.h"
#include "resampling/clamped.h"

using voxreg::detail::clamped;

namespace {

/// The nodes of one axis, evenly spaced over the grid's box, in single precision.
class NodeAxis {
 public:
  NodeAxis(const NmBox3f& box, int axis, int n)
      : min_(box.min(axis)), extent_(box.extent(axis)), n_(n) {}

  float at(int i) const {
    return static_cast<float>(i) * extent_ / static_cast<float>(n_ - 1) + min_;
  }
  float first() const { return at(0); }
  float last() const { return at(n_ - 1); }

  /// The first node, up to the last but one, whose successor is not below `p`; the number of nodes
  /// minus 1 if there is none.
  int nodeBelow(float p) const {
    int low = 0;
    int high = n_ - 1;
    while (low < high) {
      const int middle = low + (high - low) / 2;
      if (p <= at(middle + 1))
        high = middle;
      else
        low = middle + 1;
    }
    return low;
  }

  int size() const { return n_; }

 private:
  float min_;
  float extent_;
  int n_;
};

struct VoxelLookup {
  int index;
  float weight;
};

VoxelLookup lookUp(float p, const NodeAxis& nodes, bool clampToGrid) {
  if (!clampToGrid && !(p >= nodes.first() && p <= nodes.last())) return {-1, 0.0f};
  if (clampToGrid) p = clamped(p, nodes.first(), nodes.last());
  const int i = nodes.nodeBelow(p);
  if (i > nodes.size() - 2) return {nodes.size() - 2, 1.0f};
  return {i, (p - nodes.at(i)) / (nodes.at(i + 1) - nodes.at(i))};
}

bool fitsInt(std::int64_t n, std::int64_t stride) {
  return n >= 2 && stride > 0 && n - 2 <= std::numeric_limits<int>::max() / stride;
}

}  // namespace

void RegBrickedResampler::getIndicesAndWeights(const NmVec3i& dims, const NmBox3f& voxelBox,
                                               const NmBox3f& gridBox, const NmVec3i& gridDims,
                                               bool clampToGrid, NmDArray<int>& xIndices,
                                               NmDArray<float>& xWeights, NmDArray<int>& yIndices,
                                               NmDArray<float>& yWeights, NmDArray<int>& zIndices,
                                               NmDArray<float>& zWeights) {
  NmDArray<int>* const indices[3] = {&xIndices, &yIndices, &zIndices};
  NmDArray<float>* const weights[3] = {&xWeights, &yWeights, &zWeights};
  const NmVec3f voxelSize = voxelBox.getVoxelSize(
      NmVec3f(static_cast<float>(dims.x), static_cast<float>(dims.y), static_cast<float>(dims.z)));
  const std::int64_t strides[3] = {1, gridDims.x,
                                   static_cast<std::int64_t>(gridDims.x) * gridDims.y};
  for (int axis = 2; axis >= 0; --axis) {
    const int n = std::max(dims[axis], 0);
    indices[axis]->resize(n);
    weights[axis]->resize(n);
    const NodeAxis nodes(gridBox, axis, gridDims[axis]);
    const bool hasNodes = fitsInt(gridDims[axis], strides[axis]);
    for (int i = 0; i < n; ++i) {
      const float p = static_cast<float>(i) * voxelSize[axis] + voxelBox.min(axis);
      const VoxelLookup found = hasNodes ? lookUp(p, nodes, clampToGrid) : VoxelLookup{-1, 0.0f};
      (*indices[axis])[i] = found.index < 0 ? -1 : static_cast<int>(found.index * strides[axis]);
      (*weights[axis])[i] = found.weight;
    }
  }
}
