#include "variational/fields/fieldInverse.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "foundation/numbers/vectors.h"
#include "variational/pyramid/levelVolume.h"

namespace voxreg::detail {

namespace {

constexpr double tolerance = 0.5e-3;

struct Sample {
  NmVec3d value;
  NmVec3d along[3];  ///< derivatives by each axis
};

class FieldSampler {
 public:
  explicit FieldSampler(const VoxelField& field) : field_(field) {
    std::int64_t step = 1;
    for (int a = 0; a < 3; ++a) {
      step_[a] = step;
      toNext_[a] = field.dims[a] > 1 ? step : 0;
      step *= field.dims[a];
    }
  }

  Sample at(const NmVec3d& position) const {
    double share[3];
    bool isInside[3];
    std::int64_t corner = 0;
    for (int a = 0; a < 3; ++a) {
      const double last = field_.dims[a] - 1;
      const double p = position[a] > 0.0 ? std::min(position[a], last) : 0.0;
      isInside[a] = position[a] >= 0.0 && position[a] <= last;
      const int cell = std::min(static_cast<int>(p), std::max(field_.dims[a] - 2, 0));
      share[a] = p - cell;
      corner += step_[a] * cell;
    }
    Sample sample;
    for (int c = 0; c < 3; ++c) {
      NmVec3d slope;
      sample.value[c] = take(field_.along[c].data() + corner, share, slope);
      for (int a = 0; a < 3; ++a) sample.along[a][c] = isInside[a] ? slope[a] : 0.0;
    }
    return sample;
  }

 private:
  double take(const float* corner, const double (&share)[3], NmVec3d& slope) const {
    double line[2][2];
    double rise[2][2];
    for (int k = 0; k < 2; ++k)
      for (int j = 0; j < 2; ++j) {
        const float* const at = corner + k * toNext_[2] + j * toNext_[1];
        const double lower = at[0];
        rise[k][j] = static_cast<double>(at[toNext_[0]]) - lower;
        line[k][j] = lower + share[0] * rise[k][j];
      }
    const auto between = [](double a, double b, double t) { return a + t * (b - a); };
    const double plane[2] = {between(line[0][0], line[0][1], share[1]),
                             between(line[1][0], line[1][1], share[1])};
    slope.x = between(between(rise[0][0], rise[0][1], share[1]),
                      between(rise[1][0], rise[1][1], share[1]), share[2]);
    slope.y = between(line[0][1] - line[0][0], line[1][1] - line[1][0], share[2]);
    slope.z = plane[1] - plane[0];
    return between(plane[0], plane[1], share[2]);
  }

  const VoxelField& field_;
  std::int64_t step_[3];
  std::int64_t toNext_[3];
};

/// Where a map sends a point, relative to where it should.
struct Guess {
  NmVec3d position;
  Sample sample;
  NmVec3d excess;
  double error;
};

/// Finds the p with p + u(p) = y.
class Solver {
 public:
  explicit Solver(const VoxelField& field) : sampler_(field) {}

  Guess solve(const NmVec3d& target, const NmVec3d& start) const {
    Guess best = guess(target, start);
    for (int i = 0; i < mostSteps && best.error > tolerance; ++i) {
      const Guess next = improved(target, best);
      if (!(next.error < best.error)) break;
      best = next;
    }
    return best;
  }

  Guess guess(const NmVec3d& target, const NmVec3d& position) const {
    Guess result = {position, sampler_.at(position), {}, 0.0};
    result.excess = minus(sum(position, result.sample.value), target);
    result.error = std::sqrt(dot(result.excess, result.excess));
    return result;
  }

 private:
  /// One step by the derivative, or else of the fixed point; `from` if neither helps.
  Guess improved(const NmVec3d& target, const Guess& from) const {
    NmVec3d step;
    if (newtonStep(from, step)) {
      const Guess next = shortened(target, from, step);
      if (next.error < from.error) return next;
    }
    return shortened(target, from, from.excess);
  }

  /// A step, halved until it helps; `from` if it does not.
  Guess shortened(const NmVec3d& target, const Guess& from, NmVec3d step) const {
    for (int i = 0; i <= mostHalvings; ++i) {
      const Guess next = guess(target, minus(from.position, step));
      if (next.error < from.error) return next;
      step = halved(step);
    }
    return from;
  }

  static NmVec3d halved(const NmVec3d& v) { return {0.5 * v.x, 0.5 * v.y, 0.5 * v.z}; }

  static bool newtonStep(const Guess& from, NmVec3d& step) {
    NmVec3d column[3];
    for (int a = 0; a < 3; ++a) {
      column[a] = from.sample.along[a];
      column[a][a] += 1.0;
    }
    const NmVec3d area = cross(column[1], column[2]);
    const double determinant = dot(column[0], area);
    if (!(std::abs(determinant) > 1.0e-6)) return false;
    step = {dot(from.excess, area) / determinant,
            dot(column[0], cross(from.excess, column[2])) / determinant,
            dot(column[0], cross(column[1], from.excess)) / determinant};
    return true;
  }

  static constexpr int mostSteps = 30;
  static constexpr int mostHalvings = 4;

  FieldSampler sampler_;
};

class Inversion {
 public:
  Inversion(const VoxelField& field, const FieldKernels& kernels)
      : solver_(field), field_(field), kernels_(kernels), count_(voxelCount(field.dims)) {
    result_.field.dims = field.dims;
    for (auto& values : result_.field.along) values.resize(static_cast<std::size_t>(count_));
    result_.error.resize(static_cast<std::size_t>(count_));
  }

  FieldInverse run() {
    for (int z = 0; z < field_.dims.z; ++z)
      for (int y = 0; y < field_.dims.y; ++y) solveRow(y, z);
    for (int pass = 0; pass < mostPasses; ++pass)
      if (!retry()) break;
    summarise();
    return std::move(result_);
  }

 private:
  template <class Visit>
  void forEachVoxel(Visit visit) const {
    std::size_t i = 0;
    for (int z = 0; z < field_.dims.z; ++z)
      for (int y = 0; y < field_.dims.y; ++y)
        for (int x = 0; x < field_.dims.x; ++x) visit(NmVec3i(x, y, z), i++);
  }

  static NmVec3d pointOf(const NmVec3i& at) {
    return {static_cast<double>(at.x), static_cast<double>(at.y), static_cast<double>(at.z)};
  }

  static NmVec3d valueAt(const VoxelField& field, std::size_t i) {
    return {static_cast<double>(field.along[0][i]), static_cast<double>(field.along[1][i]),
            static_cast<double>(field.along[2][i])};
  }

  /// From the displacements of the row before, which are close; what that does not find, with more
  /// care.
  void solveRow(int y, int z) {
    const std::int64_t nx = field_.dims.x;
    const std::int64_t first = (y + std::int64_t{field_.dims.y} * z) * nx;
    const std::int64_t before = first - (y > 0 ? nx : nx * field_.dims.y);
    float* row[3];
    for (int c = 0; c < 3; ++c) {
      float* const values = result_.field.along[c].data();
      row[c] = values + first;
      for (int x = 0; x < nx; ++x)
        row[c][x] = before >= 0 ? values[before + x] : -field_.along[c].data()[x];
    }
    float* const error = result_.error.data() + first;
    constexpr auto enough = static_cast<float>(tolerance * tolerance);
    kernels_.invertRow({field_.along[0].data(), field_.along[1].data(), field_.along[2].data()},
                       field_.dims, y, z, enough, row, error);
    for (int x = 0; x < nx; ++x) {
      if (error[x] <= enough)
        error[x] = std::sqrt(error[x]);
      else
        solveAlone({x, y, z}, static_cast<std::size_t>(first + x));
    }
  }

  void solveAlone(const NmVec3i& at, std::size_t i) {
    const NmVec3d target = pointOf(at);
    for (auto& values : result_.field.along) values[i] = 0.0f;
    result_.error[i] = std::numeric_limits<float>::infinity();
    if (at.x > 0 && attempt(target, i, sum(target, valueAt(result_.field, i - 1)))) return;
    attempt(target, i, minus(target, valueAt(field_, i)));
  }

  /// True if that found it. Keeps what is better than what is there.
  bool attempt(const NmVec3d& target, std::size_t i, const NmVec3d& start) {
    const Guess found = solver_.solve(target, start);
    if (found.error < static_cast<double>(result_.error[i])) {
      for (int c = 0; c < 3; ++c)
        result_.field.along[c][i] = static_cast<float>(found.position[c] - target[c]);
      result_.error[i] = static_cast<float>(found.error);
    }
    return found.error <= tolerance;
  }

  /// Voxels that were not found, from the displacements of all their neighbours. True if some were.
  bool retry() {
    bool isBetter = false;
    forEachVoxel([&](const NmVec3i& at, std::size_t i) {
      if (static_cast<double>(result_.error[i]) > tolerance && retry(at, i)) isBetter = true;
    });
    return isBetter;
  }

  bool retry(const NmVec3i& at, std::size_t i) {
    const NmVec3d target = pointOf(at);
    std::int64_t step = 1;
    for (int a = 0; a < 3; ++a) {
      for (int side = -1; side <= 1; side += 2) {
        if (at[a] + side < 0 || at[a] + side >= field_.dims[a]) continue;
        const auto neighbour = static_cast<std::size_t>(static_cast<std::int64_t>(i) + side * step);
        if (attempt(target, i, sum(target, valueAt(result_.field, neighbour)))) return true;
      }
      step *= field_.dims[a];
    }
    return false;
  }

  void summarise() {
    double sumOfErrors = 0.0;
    for (const float error : result_.error) {
      sumOfErrors += static_cast<double>(error);
      result_.largestError = std::max(result_.largestError, static_cast<double>(error));
    }
    if (count_ > 0) result_.meanError = sumOfErrors / static_cast<double>(count_);
  }

  static constexpr int mostPasses = 5;

  Solver solver_;
  const VoxelField& field_;
  const FieldKernels& kernels_;
  std::int64_t count_;
  FieldInverse result_;
};

}  // namespace

FieldInverse inverse(const VoxelField& field, const FieldKernels& kernels) {
  return Inversion(field, kernels).run();
}

}  // namespace voxreg::detail
