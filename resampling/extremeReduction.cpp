#include "resampling/extremeReduction.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "foundation/NmDArray.h"
#include "foundation/ProgressScope.h"
#include "foundation/VlData.h"
#include "foundation/sampling/volumePair.h"
#include "foundation/voxels/indexRange.h"
#include "resampling/zoomShape.h"

namespace voxreg::detail {
namespace {

/// Iterates over the source voxels of the cells of an axis, whose borders are sums of the cell size
/// in single precision.
class CellWalk {
 public:
  CellWalk(const ZoomShape& shape, int axis)
      : size_(shape.fromLength(axis) / shape.length[axis]),
        end_(shape.fromLength(axis)),
        numVoxels_(shape.from[axis]) {}

  IndexRange next() {
    const float before = border_;
    border_ = std::min(before + size_, end_);
    return {voxelAtOrAfter(before), voxelAtOrAfter(border_)};
  }

 private:
  // Above 2^24 the last border may be rounded past the end of the axis.
  std::int64_t voxelAtOrAfter(float border) const {
    return std::min(static_cast<std::int64_t>(std::ceil(border)), numVoxels_);
  }

  float size_;
  float end_;
  std::int64_t numVoxels_;
  float border_ = 0.0f;
};

template <Extreme extreme>
void fold(const float* in, const NmDArray<IndexRange>& cells, std::int64_t numDataVars,
          float* out) {
  for (std::int64_t i = 0; i < cells.size; ++i)
    for (std::int64_t x = cells[i].first; x < cells[i].end; ++x)
      for (std::int64_t c = 0; c < numDataVars; ++c) {
        const float value = in[x * numDataVars + c];
        const std::int64_t at = i * numDataVars + c;
        if (extreme == Extreme::maximum ? value > out[at] : value < out[at]) out[at] = value;
      }
}

template <Extreme extreme>
void reduce(const VlDataAccess& source, const VlDataAccess& target, const ZoomShape& shape,
            std::int64_t numDataVars, NmProgressInterface* progress) {
  constexpr float largest = std::numeric_limits<float>::max();
  constexpr float worst = extreme == Extreme::maximum ? -largest : largest;
  NmDArray<float> in;
  in.resize(shape.from.x * numDataVars);
  std::fill(in.data, in.data + in.size, 0.0f);
  NmDArray<float> out;
  out.resize(shape.to.x * numDataVars);
  NmDArray<IndexRange> cellsX;
  cellsX.resize(shape.to.x);
  CellWalk walkX(shape, 0);
  for (std::int64_t i = 0; i < cellsX.size; ++i) cellsX[i] = walkX.next();

  const ProgressScope scope(progress);
  if (progress != nullptr) progress->startWorking(static_cast<int>(shape.to.z), std::string());
  CellWalk walkZ(shape, 2);
  for (std::int64_t zi = 0; zi < shape.to.z; ++zi) {
    if (progress != nullptr) {
      progress->setProgressValue(static_cast<int>(zi + 1));
      if (progress->wasInterrupted()) return;
    }
    const IndexRange cellZ = walkZ.next();
    CellWalk walkY(shape, 1);
    for (std::int64_t yi = 0; yi < shape.to.y; ++yi) {
      const IndexRange cellY = walkY.next();
      std::fill(out.data, out.data + out.size, worst);
      for (std::int64_t z = cellZ.first; z < cellZ.end; ++z)
        for (std::int64_t y = cellY.first; y < cellY.end; ++y) {
          source.row(-1, y, z, in.data);
          fold<extreme>(in.data, cellsX, numDataVars, out.data);
        }
      target.putRow(-1, yi, zi, out.data);
    }
  }
}

}  // namespace

bool reduceToExtremes(VlData& source, VlData& target, const ZoomShape& shape, Extreme extreme,
                      NmProgressInterface* progress) {
  const VolumePair pair = lockPair(source, target);
  if (!pair.isOpen()) return false;
  const std::int64_t numDataVars = source.numDataVars();
  if (extreme == Extreme::maximum)
    reduce<Extreme::maximum>(*pair.source, *pair.target, shape, numDataVars, progress);
  else
    reduce<Extreme::minimum>(*pair.source, *pair.target, shape, numDataVars, progress);
  return true;
}

}  // namespace voxreg::detail
