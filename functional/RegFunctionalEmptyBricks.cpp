#include <algorithm>
#include <cinttypes>
#include <cstdint>

#include "foundation/NmLogFile.h"
#include "foundation/voxels/indexRange.h"
#include "functional/RegFunctional.h"
#include "functional/families/metricFamily.h"
#include "transforms/RegNonAffineTransform.h"
#include "transforms/brickTopology.h"
#include "transforms/voxelAxis.h"

namespace {

using Flags = NmDArray<unsigned char>;

using voxreg::detail::BrickTopology;
using voxreg::detail::IndexRange;
using voxreg::detail::ValueRange;
using Measure = voxreg::detail::VoxelAxis::Measure;

/// The voxels of each brick along one axis. A voxel on a face belongs to both neighbours. If the
/// whole grid contains no voxel, a walk visits the nearest plane (found with a tolerance, as in
/// walks), and each brick then has that one.
struct BrickAxis {
  IndexRange bricks[32] = {};

  BrickAxis(const RegNonAffineTransform& grid, const VlData& volume, int axis, Measure measure) {
    const voxreg::detail::VoxelAxis voxels(voxreg::detail::VolumeFrame(volume), axis, measure);
    const int n = grid.numBricks[axis];
    const float size = grid.referenceBox.extent(axis) / static_cast<float>(n);
    for (int b = 0; b < n; ++b) {
      const float start = static_cast<float>(b) * size + grid.referenceBox.min(axis);
      bricks[b] = {voxels.firstFrom(start), voxels.lastUpTo(start + size) + std::int64_t{1}};
    }
    const int first = voxels.firstFrom(grid.referenceBox.min(axis));
    if (measure == Measure::tolerant && voxels.lastUpTo(grid.referenceBox.max(axis)) < first)
      std::fill_n(bricks, n, IndexRange{first, first + std::int64_t{1}});
  }

  bool operator==(const BrickAxis&) const = default;
};

/// Searches for reference voxels in range, a row of bricks along x at a time, so that their common
/// rows of voxels are read once.
class BrickScan {
 public:
  BrickScan(const RegNonAffineTransform& grid, const VlData& volume, const VlDataAccess& access,
            const ValueRange& range, Measure measure)
      : x_(grid, volume, 0, measure),
        y_(grid, volume, 1, measure),
        z_(grid, volume, 2, measure),
        numBricks_(grid.numBricks),
        stride_(volume.numDataVars()),
        access_(access),
        range_(range) {
    row_.resize(volume.dims().x * stride_);
    std::fill_n(row_.data, row_.size, 0.0f);
  }

  bool seesTheSameVoxelsAs(const BrickScan& other) const {
    return x_ == other.x_ && y_ == other.y_ && z_ == other.z_;
  }

  /// Sets the flags of the bricks without such a voxel and returns their number.
  int flag(Flags& bricks) {
    unsigned char* flags = bricks.data;
    int empty = 0;
    for (int bk = 0; bk < numBricks_.z; ++bk)
      for (int bj = 0; bj < numBricks_.y; ++bj, flags += numBricks_.x)
        empty += flagRow(bj, bk, flags);
    return empty;
  }

 private:
  /// Flags the bricks (0 .. nx - 1, bj, bk). Stops as soon as each brick has a voxel in range.
  int flagRow(int bj, int bk, unsigned char* flags) {
    std::fill_n(flags, numBricks_.x, static_cast<unsigned char>(1));
    int empty = numBricks_.x;
    int open = static_cast<int>(std::count_if(x_.bricks, x_.bricks + numBricks_.x,
                                              [](const IndexRange& r) { return !r.isEmpty(); }));
    const IndexRange& zs = z_.bricks[bk];
    const IndexRange& ys = y_.bricks[bj];
    for (std::int64_t z = zs.first; z < zs.end && open > 0; ++z)
      for (std::int64_t y = ys.first; y < ys.end && open > 0; ++y) {
        access_.row(-1, y, z, row_.data);
        for (int b = 0; b < numBricks_.x; ++b)
          if (flags[b] != 0 && rowShows(x_.bricks[b])) {
            flags[b] = 0;
            --open;
            --empty;
          }
      }
    return empty;
  }

  bool rowShows(const IndexRange& voxels) const {
    for (std::int64_t x = voxels.first; x < voxels.end; ++x)
      if (range_.contains(row_[x * stride_])) return true;
    return false;
  }

  BrickAxis x_;
  BrickAxis y_;
  BrickAxis z_;
  NmVec3i numBricks_;
  std::int64_t stride_;
  const VlDataAccess& access_;
  ValueRange range_;
  NmDArray<float> row_;
};

/// Clears the flags of the vertices of one brick.
void clearCorners(const BrickTopology& grid, const NmVec3i& brick, Flags& vertices) {
  for (int corner = 0; corner < 8; ++corner) vertices[grid.cornerOf(brick, corner)] = 0;
}

/// Flags the vertices with only flagged bricks around them and returns their number.
std::int64_t flagVertices(const NmVec3i& n, const Flags& bricks, Flags& vertices) {
  std::fill_n(vertices.data, vertices.size, static_cast<unsigned char>(1));
  std::int64_t brick = 0;
  for (int bk = 0; bk < n.z; ++bk)
    for (int bj = 0; bj < n.y; ++bj)
      for (int bi = 0; bi < n.x; ++bi, ++brick)
        if (bricks[brick] == 0) clearCorners({n}, {bi, bj, bk}, vertices);
  return std::count(vertices.data, vertices.data + vertices.size, 1);
}

/// Flags the vertices around which a scan finds a voxel in range.
void flagReached(BrickScan& scan, const RegNonAffineTransform& grid, Flags& vertices) {
  Flags bricks;
  bricks.resize(grid.brickCount());
  scan.flag(bricks);
  vertices.resize(grid.vertexCount());
  flagVertices(grid.numBricks, bricks, vertices);
  for (std::int64_t v = 0; v < vertices.size; ++v) vertices[v] ^= 1;
}

void fillTo(std::int64_t size, unsigned char flag, Flags& flags) {
  flags.resize(size);
  std::fill_n(flags.data, size, flag);
}

}  // namespace

int RegFunctional::findEmptyBricks(RegNonAffineTransform* grid) {
  if (grid == nullptr) return 0;
  fillTo(grid->brickCount(), 0, emptyBricks);
  fillTo(grid->vertexCount(), 0, unusedVertices);
  reachedVertices_.clear();
  flaggedGrid_ = {grid->numBricks, grid->referenceBox};
  const auto* const family = voxreg::detail::familyOf(metric);
  const bool takesAny = family == nullptr || family->referenceRange == nullptr;
  if (emptyBricks.size == 0 || referenceAccess == nullptr || takesAny) return 0;
  const ValueRange range = family->referenceRange(*metric);
  const NmVec3i& n = grid->numBricks;
  int empty = 0;
  std::int64_t unused = 0;
  if (reference.size > 0 && reference[0] != nullptr && reference[0] == lockedReference_) {
    BrickScan scan(*grid, *reference[0], *referenceAccess, range, Measure::literal);
    empty = scan.flag(emptyBricks);
    if (empty > 0) unused = flagVertices(n, emptyBricks, unusedVertices);
    BrickScan walked(*grid, *reference[0], *referenceAccess, range, Measure::tolerant);
    // Further references are walked entirely, also outside the grid's box.
    if (reference.size > 1)
      fillTo(unusedVertices.size, 1, reachedVertices_);
    else if (unused > 0 && !walked.seesTheSameVoxelsAs(scan))
      flagReached(walked, *grid, reachedVertices_);
  }
  getTheLogInstance().printf("%d of %" PRId64 " empty bricks\n", empty, emptyBricks.size);
  if (unused > 0)
    getTheLogInstance().printf("%" PRId64 " of %" PRId64 " unused vertices\n", unused,
                               unusedVertices.size);
  return empty;
}

// Flags set by a host are kept until their number does not match.
void RegFunctional::updateBrickFlags(RegNonAffineTransform& grid) {
  const bool isStale =
      flaggedGrid_ && *flaggedGrid_ != FlaggedGrid{grid.numBricks, grid.referenceBox};
  if (isStale) renumbering.clear();
  if (isStale || emptyBricks.size != grid.brickCount()) findEmptyBricks(&grid);
}
