#include "resampling/zoomPass.h"

#include <algorithm>
#include <cstdint>

#include "foundation/VlData.h"
#include "foundation/sampling/volumePair.h"
#include "foundation/voxels/voxelLines.h"

namespace voxreg::detail {
namespace {

/// A volume under a lock, with its voxels if they are in one block of a supported type.
struct LockedVolume {
  NmHandle<VlDataAccess> access;
  NmVec3l dims;
  std::int64_t numDataVars;
  NmPrimType type;
  void* block = nullptr;

  LockedVolume(const VlData& volume, const NmHandle<VlDataAccess>& lock)
      : access(lock),
        dims(volume.dims()),
        numDataVars(volume.numDataVars()),
        type(volume.primType()) {
    if (access->isContiguous() && access->isLinear() && isServedVoxelType(type))
      block = access->dataPtr(0);
  }

  /// Number of values from one voxel to the next along an axis.
  std::int64_t stride(int axis) const {
    return numDataVars * (axis > 0 ? dims.x : 1) * (axis > 1 ? dims.y : 1);
  }
  void read(std::int64_t first, std::int64_t n, float* buffer) const {
    readVoxels(type, block, first, n, buffer);
  }
  void write(std::int64_t first, std::int64_t n, const float* buffer) const {
    writeVoxels(type, block, first, n, buffer);
  }
};

struct PassVolumes {
  const LockedVolume& in;
  const LockedVolume& out;
  int axis;
  const LineTaps& taps;

  /// The axis of the slices that are filtered one after another.
  int outerAxis() const { return axis == 2 ? 1 : 2; }
};

/// Line by line, for volumes whose voxels cannot be accessed directly.
class LoneLines {
 public:
  explicit LoneLines(const PassVolumes& volumes) : v_(volumes) {
    in_.resize(v_.in.dims[v_.axis] * v_.in.numDataVars);
    out_.resize(v_.out.dims[v_.axis] * v_.in.numDataVars);
    // A line that cannot be read repeats the previous one.
    std::fill(in_.data, in_.data + in_.size, 0.0f);
  }

  void filterSlice(std::int64_t outer) {
    const int innerAxis = v_.axis == 0 ? 1 : 0;
    NmVec3l at;
    at[v_.axis] = -1;
    at[v_.outerAxis()] = outer;
    for (std::int64_t inner = 0; inner < v_.in.dims[innerAxis]; ++inner) {
      at[innerAxis] = inner;
      v_.in.access->row(at.x, at.y, at.z, in_.data);
      combineLines(in_.data, v_.in.numDataVars, v_.taps, out_.data);
      v_.out.access->putRow(at.x, at.y, at.z, out_.data);
    }
  }

 private:
  PassVolumes v_;
  NmDArray<float> in_;
  NmDArray<float> out_;
};

/// Along y or z: whole rows are weighted and summed, in portions that fit into the cache.
class RowsAsLines {
 public:
  explicit RowsAsLines(const PassVolumes& volumes)
      : v_(volumes), rowLength_(v_.in.stride(1)), width_(portion(rowLength_, lengthIn())) {
    in_.resize(lengthIn() * width_);
    out_.resize(lengthOut() * width_);
  }

  void filterSlice(std::int64_t outer) {
    for (std::int64_t x = 0; x < rowLength_; x += width_)
      filterPortion(outer, x, std::min(width_, rowLength_ - x));
  }

 private:
  static std::int64_t portion(std::int64_t rowLength, std::int64_t lengthIn) {
    constexpr std::int64_t floatsInCache = 65536;
    return std::min(rowLength, std::max(floatsInCache / lengthIn, std::int64_t{64}));
  }

  std::int64_t lengthIn() const { return v_.in.dims[v_.axis]; }
  std::int64_t lengthOut() const { return v_.out.dims[v_.axis]; }

  void filterPortion(std::int64_t outer, std::int64_t x, std::int64_t width) {
    const std::int64_t strideIn = v_.in.stride(v_.axis);
    const std::int64_t firstIn = outer * v_.in.stride(v_.outerAxis()) + x;
    if (strideIn == width)
      v_.in.read(firstIn, lengthIn() * width, in_.data);
    else
      for (std::int64_t i = 0; i < lengthIn(); ++i)
        v_.in.read(firstIn + i * strideIn, width, in_.data + i * width);
    combineLines(in_.data, width, v_.taps, out_.data);
    const std::int64_t strideOut = v_.out.stride(v_.axis);
    const std::int64_t firstOut = outer * v_.out.stride(v_.outerAxis()) + x;
    for (std::int64_t i = 0; i < lengthOut(); ++i)
      v_.out.write(firstOut + i * strideOut, width, out_.data + i * width);
  }

  PassVolumes v_;
  std::int64_t rowLength_;
  std::int64_t width_;
  NmDArray<float> in_;
  NmDArray<float> out_;
};

constexpr std::int64_t blockRows = 16;

/// columns[x * numRows + r] = rows[r * length + x], of elements of `width` floats.
void interleave(const float* rows, std::int64_t numRows, std::int64_t length, std::int64_t width,
                float* columns) {
  if (numRows == blockRows && width == 1) {
    for (std::int64_t x = 0; x < length; ++x)
      for (std::int64_t r = 0; r < blockRows; ++r)
        columns[x * blockRows + r] = rows[r * length + x];
    return;
  }
  for (std::int64_t r = 0; r < numRows; ++r)
    for (std::int64_t x = 0; x < length; ++x)
      std::copy(rows + (r * length + x) * width, rows + (r * length + x + 1) * width,
                columns + (x * numRows + r) * width);
}

/// The inverse.
void separate(const float* columns, std::int64_t numRows, std::int64_t length, std::int64_t width,
              float* rows) {
  if (numRows == blockRows && width == 1) {
    for (std::int64_t x = 0; x < length; ++x)
      for (std::int64_t r = 0; r < blockRows; ++r)
        rows[r * length + x] = columns[x * blockRows + r];
    return;
  }
  interleave(columns, length, numRows, width, rows);
}

/// Along x: the columns of several rows are weighted and summed together.
class ColumnsAsLines {
 public:
  explicit ColumnsAsLines(const PassVolumes& volumes)
      : v_(volumes), numRows_(std::min(blockRows, v_.in.dims.y)) {
    rowsIn_.resize(numRows_ * v_.in.stride(1));
    columnsIn_.resize(rowsIn_.size);
    rowsOut_.resize(numRows_ * v_.out.stride(1));
    columnsOut_.resize(rowsOut_.size);
  }

  // The last block overlaps the one before it instead of being smaller.
  void filterSlice(std::int64_t outer) {
    const std::int64_t numY = v_.in.dims.y;
    for (std::int64_t y = 0; y < numY; y += numRows_)
      filterRows(outer * numY + std::min(y, numY - numRows_));
  }

 private:
  void filterRows(std::int64_t firstRow) {
    const std::int64_t width = v_.in.numDataVars;
    v_.in.read(firstRow * v_.in.stride(1), rowsIn_.size, rowsIn_.data);
    interleave(rowsIn_.data, numRows_, v_.in.dims.x, width, columnsIn_.data);
    combineLines(columnsIn_.data, numRows_ * width, v_.taps, columnsOut_.data);
    separate(columnsOut_.data, numRows_, v_.out.dims.x, width, rowsOut_.data);
    v_.out.write(firstRow * v_.out.stride(1), rowsOut_.size, rowsOut_.data);
  }

  PassVolumes v_;
  std::int64_t numRows_;
  NmDArray<float> rowsIn_;
  NmDArray<float> columnsIn_;
  NmDArray<float> columnsOut_;
  NmDArray<float> rowsOut_;
};

template <class Slices>
void filterSlices(const PassVolumes& volumes, ZoomProgress& progress) {
  Slices slices(volumes);
  progress.startPass();
  for (std::int64_t i = 0; i < volumes.in.dims[volumes.outerAxis()]; ++i)
    if (!progress.isInterrupted(i)) slices.filterSlice(i);
}

}  // namespace

bool runZoomPass(VlData& input, VlData& output, int axis, const LineTaps& taps,
                 ZoomProgress& progress) {
  const VolumePair pair = lockPair(input, output);
  if (!pair.isOpen()) return false;
  const LockedVolume in(input, pair.source);
  const LockedVolume out(output, pair.target);
  const PassVolumes volumes = {in, out, axis, taps};
  if (in.block == nullptr || out.block == nullptr)
    filterSlices<LoneLines>(volumes, progress);
  else if (axis == 0)
    filterSlices<ColumnsAsLines>(volumes, progress);
  else
    filterSlices<RowsAsLines>(volumes, progress);
  return true;
}

}  // namespace voxreg::detail
