#include "variational/fields/fieldRepair.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "variational/fields/fieldDeterminants.h"
#include "variational/pyramid/levelVolume.h"

namespace voxreg::detail {

namespace {

constexpr int reach = 2;

struct Voxel {
  int x;
  int y;
  int z;
};

/// Voxels within a distance on one axis.
struct Nearby {
  int first;
  int last;

  Nearby(int at, int distance, int n)
      : first(std::max(at - distance, 0)), last(std::min(at + distance, n - 1)) {}
};

class Repair {
 public:
  Repair(VoxelField& field, double least, const FieldKernels& kernels)
      : field_(field), least_(least), determinants_(field, kernels) {
    for (int z = 0; z < field.dims.z; ++z)
      for (int y = 0; y < field.dims.y; ++y) lookAt(0, field.dims.x, y, z);
  }

  bool isDone() const { return bad_.empty(); }

  void runRound() {
    if (isMarked_.empty()) {
      isMarked_.resize(static_cast<std::size_t>(voxelCount(field_.dims)));
      isRowMarked_.resize(static_cast<std::size_t>(field_.dims.y) *
                          static_cast<std::size_t>(field_.dims.z));
    }
    for (const Voxel& voxel : bad_) markAround(voxel);
    smoothMarked();
    bad_.clear();
    lookAround();
    for (const Voxel& voxel : marked_) isMarked_[indexOf(voxel.x, voxel.y, voxel.z)] = 0;
    marked_.clear();
  }

 private:
  /// Voxels of a row in which a determinant may have changed.
  struct Row {
    int y;
    int z;
    int first;
    int last;
  };

  std::size_t indexOf(int x, int y, int z) const {
    return static_cast<std::size_t>(x + field_.dims.x * (y + std::int64_t{field_.dims.y} * z));
  }

  void lookAt(int first, int end, int y, int z) {
    const float* const smallest = determinants_.ofRow(first, end, y, z);
    for (int x = first; x < end; ++x)
      if (static_cast<double>(smallest[x - first]) < least_ && std::isfinite(smallest[x - first]))
        bad_.push_back({x, y, z});
  }

  void markAround(const Voxel& voxel) {
    const Nearby xs(voxel.x, reach, field_.dims.x);
    const Nearby ys(voxel.y, reach, field_.dims.y);
    const Nearby zs(voxel.z, reach, field_.dims.z);
    for (int z = zs.first; z <= zs.last; ++z)
      for (int y = ys.first; y <= ys.last; ++y)
        for (int x = xs.first; x <= xs.last; ++x) {
          auto& isMarked = isMarked_[indexOf(x, y, z)];
          if (isMarked == 0) marked_.push_back({x, y, z});
          isMarked = 1;
        }
  }

  void smoothMarked() {
    smoothed_.clear();
    for (const Voxel& voxel : marked_)
      for (const auto& values : field_.along) smoothed_.push_back(smoothedAt(values, voxel));
    const float* value = smoothed_.data();
    for (const Voxel& voxel : marked_)
      for (auto& values : field_.along) {
        if (std::isfinite(*value)) values[indexOf(voxel.x, voxel.y, voxel.z)] = *value;
        ++value;
      }
  }

  float smoothedAt(const std::vector<float>& values, const Voxel& voxel) const {
    const auto weigh = [](int at, int n, auto valueAt) {
      return (valueAt(std::max(at - 1, 0)) + valueAt(std::min(at + 1, n - 1))) + 2.0f * valueAt(at);
    };
    const float sum = weigh(voxel.z, field_.dims.z, [&](int z) {
      return weigh(voxel.y, field_.dims.y, [&](int y) {
        return weigh(voxel.x, field_.dims.x, [&](int x) { return values[indexOf(x, y, z)]; });
      });
    });
    return sum / 64.0f;
  }

  /// The voxels next to those that have been smoothed.
  void lookAround() {
    rows_.clear();
    for (const Voxel& voxel : marked_) {
      const Nearby xs(voxel.x, 1, field_.dims.x);
      const Nearby ys(voxel.y, 1, field_.dims.y);
      const Nearby zs(voxel.z, 1, field_.dims.z);
      for (int z = zs.first; z <= zs.last; ++z)
        for (int y = ys.first; y <= ys.last; ++y) addToRow(xs, y, z);
    }
    for (const Row& row : rows_) {
      lookAt(row.first, row.last + 1, row.y, row.z);
      isRowMarked_[rowIndex(row.y, row.z)] = 0;
    }
  }

  std::size_t rowIndex(int y, int z) const {
    return static_cast<std::size_t>(y + std::int64_t{field_.dims.y} * z);
  }

  void addToRow(const Nearby& xs, int y, int z) {
    std::int64_t& number = isRowMarked_[rowIndex(y, z)];
    if (number == 0) {
      rows_.push_back({y, z, xs.first, xs.last});
      number = static_cast<std::int64_t>(rows_.size());
      return;
    }
    Row& row = rows_[static_cast<std::size_t>(number - 1)];
    row.first = std::min(row.first, xs.first);
    row.last = std::max(row.last, xs.last);
  }

  VoxelField& field_;
  double least_;
  FieldDeterminants determinants_;
  std::vector<Voxel> bad_;
  std::vector<Voxel> marked_;
  std::vector<unsigned char> isMarked_;
  std::vector<float> smoothed_;
  std::vector<Row> rows_;
  std::vector<std::int64_t> isRowMarked_;  ///< 1 + the number in rows_
};

}  // namespace

RepairSummary repair(VoxelField& field, double least, int mostRounds, const FieldKernels& kernels) {
  RepairSummary summary;
  Repair run(field, least, kernels);
  for (; !run.isDone() && summary.rounds < mostRounds; ++summary.rounds) run.runRound();
  summary.smallestDeterminant = smallestDeterminant(field, kernels);
  summary.suffices = summary.smallestDeterminant >= least;
  return summary;
}

}  // namespace voxreg::detail
