#include "foundation/voxels/memoryAccess.h"

#include <cinttypes>

#include "foundation/NmLogFile.h"
#include "foundation/voxels/voxelLines.h"

namespace voxreg::detail {
namespace {

/// One line of voxels in the block, counted in values: `count` groups of `width` adjacent values,
/// `step` apart. A line along x is a single group.
struct Line {
  std::int64_t first = 0;
  std::int64_t step = 0;
  std::int64_t count = 0;
  std::int64_t width = 0;
};

/// False unless exactly one coordinate is -1 and the others are in the grid.
bool findLine(const VoxelGrid& grid, const NmVec3l& position, Line& line) {
  std::int64_t stride = grid.numDataVars;
  int freeAxes = 0;
  line.first = 0;
  for (int axis = 0; axis < 3; ++axis) {
    const std::int64_t n = grid.dims[axis];
    const std::int64_t at = position[axis];
    if (at < -1 || at >= n) return false;
    if (at >= 0) {
      line.first += at * stride;
    } else {
      ++freeAxes;
      line.step = stride;
      line.count = n;
      line.width = grid.numDataVars;
    }
    stride *= n;
  }
  if (line.step == line.width) {
    line.width *= line.count;
    line.count = 1;
  }
  return freeAxes == 1;
}

template <class T>
void readLine(const T* voxels, const Line& line, float* buffer) {
  for (std::int64_t k = 0; k < line.count; ++k)
    readVoxels(voxels + line.first + k * line.step, line.width, buffer + k * line.width);
}

template <class T>
void writeLine(T* voxels, const Line& line, const float* buffer) {
  for (std::int64_t k = 0; k < line.count; ++k)
    writeVoxels(voxels + line.first + k * line.step, line.width, buffer + k * line.width);
}

NmResult refuse(const char* operation, const NmVec3l& at) {
  getTheLogInstance().errorf("%s: no such line as (%" PRId64 ", %" PRId64 ", %" PRId64
                             "), or no buffer or lock for it",
                             operation, at.x, at.y, at.z);
  return NmResult(false);
}

class MemoryAccess : public VlDataAccess {
 public:
  MemoryAccess(const VoxelGrid& grid, void* voxels, bool writable)
      : grid_(grid), voxels_(voxels), writable_(writable) {}

  void* dataPtr(std::int64_t index) const override { return index == 0 ? voxels_ : nullptr; }
  bool isContiguous() const override { return true; }
  bool isLinear() const override { return true; }

  NmResult row(std::int64_t x, std::int64_t y, std::int64_t z, float* buffer) const override {
    Line line;
    if (buffer == nullptr || !findLine(grid_, {x, y, z}, line))
      return refuse("VlDataAccess::row", {x, y, z});
    withVoxelType(grid_.type,
                  [&]<class T>() { readLine(static_cast<const T*>(voxels_), line, buffer); });
    return NmResult();
  }

  NmResult putRow(std::int64_t x, std::int64_t y, std::int64_t z,
                  const float* buffer) const override {
    Line line;
    if (buffer == nullptr || !writable_ || !findLine(grid_, {x, y, z}, line))
      return refuse("VlDataAccess::putRow", {x, y, z});
    withVoxelType(grid_.type,
                  [&]<class T>() { writeLine(static_cast<T*>(voxels_), line, buffer); });
    return NmResult();
  }

 private:
  VoxelGrid grid_;
  void* voxels_;
  bool writable_;
};

}  // namespace

NmHandle<VlDataAccess> makeMemoryAccess(const VoxelGrid& grid, void* voxels, bool writable) {
  return new MemoryAccess(grid, voxels, writable);
}

}  // namespace voxreg::detail
