#include <algorithm>

#include "foundation/NmLogFile.h"
#include "functional/RegFunctional.h"
#include "metrics/RegCorrelationRatio.h"
#include "metrics/RegMutualInformation.h"
#include "transforms/RegNonAffineTransform.h"
#include "transforms/voxelAxis.h"

namespace {

using Flags = NmDArray<unsigned char>;

/// Closed range of reference values.
struct ValueRange {
  double min;
  double max;

  bool contains(double value) const { return value >= min && value <= max; }
};

/// The values that a metric takes samples from; false for one that takes any.
bool findReferenceRange(const RegMetric* metric, ValueRange& range) {
  if (const auto* const correlation = dynamic_cast<const RegCorrelationRatio*>(metric))
    range = {correlation->minRef, correlation->maxRef};
  else if (const auto* const information = dynamic_cast<const RegMutualInformation*>(metric))
    range = {information->minRef, information->maxRef};
  else
    return false;
  return true;
}

/// Voxels `first` to `last` of an axis; none where `last` is smaller.
struct Voxels {
  int first;
  int last;
};

/// The voxels of each brick along one axis. A voxel on a face belongs to both neighbours.
struct BrickAxis {
  Voxels bricks[32];

  BrickAxis(const RegNonAffineTransform& grid, const VlData& volume, int axis) {
    NmBox3f box;
    volume.boundingBox(box);
    const voxreg::detail::VoxelAxis voxels(box, volume.dims(), axis);
    const int n = grid.numBricks[axis];
    const float size = grid.referenceBox.extent(axis) / static_cast<float>(n);
    for (int b = 0; b < n; ++b) {
      const float start = static_cast<float>(b) * size + grid.referenceBox.min(axis);
      bricks[b] = {voxels.firstFrom(start), voxels.lastUpTo(start + size)};
    }
  }
};

/// Looks for reference voxels in range, a row of bricks along x at a time, so that their common
/// rows of voxels are read once.
class BrickScan {
 public:
  BrickScan(const RegNonAffineTransform& grid, const VlData& volume, const VlDataAccess& access,
            const ValueRange& range)
      : x_(grid, volume, 0),
        y_(grid, volume, 1),
        z_(grid, volume, 2),
        bricksInRow_(grid.numBricks.x),
        stride_(volume.numDataVars()),
        access_(access),
        range_(range) {
    row_.resize(volume.dims().x * stride_);
    std::fill_n(row_.data, row_.size, 0.0f);
  }

  /// Sets the flags of the bricks (0 .. nx - 1, bj, bk) without such a voxel and returns their
  /// number. Ends as soon as each brick has shown one.
  int flagRow(int bj, int bk, unsigned char* flags) {
    std::fill_n(flags, bricksInRow_, static_cast<unsigned char>(1));
    int empty = bricksInRow_;
    int open = static_cast<int>(std::count_if(x_.bricks, x_.bricks + bricksInRow_,
                                              [](Voxels v) { return v.first <= v.last; }));
    for (int z = z_.bricks[bk].first; z <= z_.bricks[bk].last && open > 0; ++z)
      for (int y = y_.bricks[bj].first; y <= y_.bricks[bj].last && open > 0; ++y) {
        access_.row(-1, y, z, row_.data);
        for (int b = 0; b < bricksInRow_; ++b)
          if (flags[b] != 0 && rowShows(x_.bricks[b])) {
            flags[b] = 0;
            --open;
            --empty;
          }
      }
    return empty;
  }

 private:
  bool rowShows(const Voxels& voxels) const {
    for (long x = voxels.first; x <= voxels.last; ++x)
      if (range_.contains(row_[x * stride_])) return true;
    return false;
  }

  BrickAxis x_;
  BrickAxis y_;
  BrickAxis z_;
  int bricksInRow_;
  long stride_;
  const VlDataAccess& access_;
  ValueRange range_;
  NmDArray<float> row_;
};

/// Clears the flags of the vertices of one brick.
void clearCorners(const NmVec3i& n, int bi, int bj, int bk, Flags& vertices) {
  for (int corner = 0; corner < 8; ++corner)
    vertices[bi + (corner & 1) +
             (n.x + 1L) * (bj + (corner >> 1 & 1) + (n.y + 1L) * (bk + (corner >> 2)))] = 0;
}

/// Flags the vertices that only flagged bricks surround and returns their number.
long flagVertices(const NmVec3i& n, const Flags& bricks, Flags& vertices) {
  std::fill_n(vertices.data, vertices.size, static_cast<unsigned char>(1));
  long brick = 0;
  for (int bk = 0; bk < n.z; ++bk)
    for (int bj = 0; bj < n.y; ++bj)
      for (int bi = 0; bi < n.x; ++bi, ++brick)
        if (bricks[brick] == 0) clearCorners(n, bi, bj, bk, vertices);
  return std::count(vertices.data, vertices.data + vertices.size, 1);
}

void clearTo(long size, Flags& flags) {
  flags.resize(size);
  std::fill_n(flags.data, size, static_cast<unsigned char>(0));
}

}  // namespace

int RegFunctional::findEmptyBricks(RegNonAffineTransform* grid) {
  if (grid == nullptr) return 0;
  clearTo(grid->brickCount(), emptyBricks);
  clearTo(grid->vertexCount(), unusedVertices);
  ValueRange range;
  if (emptyBricks.size == 0 || referenceAccess == nullptr || !findReferenceRange(metric, range))
    return 0;
  const NmVec3i& n = grid->numBricks;
  int empty = 0;
  if (reference.size > 0 && reference[0] != nullptr && reference[0] == lockedReference_) {
    BrickScan scan(*grid, *reference[0], *referenceAccess, range);
    unsigned char* flags = emptyBricks.data;
    for (int bk = 0; bk < n.z; ++bk)
      for (int bj = 0; bj < n.y; ++bj, flags += n.x) empty += scan.flagRow(bj, bk, flags);
  }
  const long unused = empty > 0 ? flagVertices(n, emptyBricks, unusedVertices) : 0;
  getTheLogInstance().printf("%d of %ld empty bricks\n", empty, emptyBricks.size);
  if (unused > 0)
    getTheLogInstance().printf("%ld of %ld unused vertices\n", unused, unusedVertices.size);
  return empty;
}
