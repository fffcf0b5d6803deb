#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "foundation/NmWatch.h"
#include "transforms/RegNonAffineTransform.h"
#include "transforms/brickStages.h"
#include "transforms/brickTopology.h"
#include "transforms/matrixDecomposition.h"
#include "transforms/orthogonalRows.h"

using voxreg::detail::decompose;
using voxreg::detail::OrthogonalRows;
using voxreg::detail::Pair;
using voxreg::detail::smallDeterminant;

namespace {

constexpr int perBrick = voxreg::detail::brickDoubles;
constexpr double infinity = std::numeric_limits<double>::infinity();

/// Nodes of the two-point Gauss-Legendre rule on [0, 1].
constexpr double node[2] = {0.21132486540518713, 0.7886751345948129};
constexpr Pair nodes = {node[0], node[1]};

Pair both(double value) {
  return Pair{value, value};
}

/// Smallest and largest of the values taken, in either lane; NaN is skipped.
class Range {
 public:
  Range() : low_(both(infinity)), high_(both(-infinity)) {}
  explicit Range(double first) : low_(both(first)), high_(both(first)) {}

  void take(Pair values) {
    low_ = values < low_ ? values : low_;
    high_ = values > high_ ? values : high_;
  }
  bool isEmpty() const { return !(low() <= high()); }
  double low() const { return std::min(low_[0], low_[1]); }
  double high() const { return std::max(high_[0], high_[1]); }

 private:
  Pair low_;
  Pair high_;
};

/// The Jacobian of a brick's map at the eight sample points. Row i, the derivative along axis i,
/// does not depend on the local coordinate of its own axis. Of the two other coordinates, the lower
/// one runs over the nodes in the lanes, the higher one in the first index of `row[i]`.
struct SampledJacobian {
  Pair row[3][2][3];

  /// `terms` are the brick's coefficients, 1, r, s, rs, q, rq, sq, rsq; `size` is the brick's.
  SampledJacobian(const double* terms, const double (&size)[3]) {
    constexpr int derivative[3][4] = {{1, 3, 5, 7}, {2, 3, 6, 7}, {4, 5, 6, 7}};
    for (int axis = 0; axis < 3; ++axis)
      for (int y = 0; y < 2; ++y)
        for (int c = 0; c < 3; ++c) {
          const auto term = [&](int t) { return both(terms[3 * derivative[axis][t] + c]); };
          row[axis][y][c] = (term(0) + nodes * term(1) + both(node[y]) * term(2) +
                             nodes * both(node[y]) * term(3)) /
                            both(size[axis]);
        }
  }

  /// The points (nodes, node[s], node[q]).
  void at(int s, int q, Pair (&f)[3][3]) const {
    for (int c = 0; c < 3; ++c) {
      f[0][c] = both(row[0][q][c][s]);
      f[1][c] = row[1][q][c];
      f[2][c] = row[2][s][c];
    }
  }

  double smallestDiagonal() const {
    Range range;
    for (int axis = 0; axis < 3; ++axis)
      for (int y = 0; y < 2; ++y) range.take(row[axis][y][axis]);
    return range.isEmpty() ? 1.0 : range.low();
  }
};

/// Rule of Sarrus.
Pair determinant(const Pair (&f)[3][3]) {
  return f[0][0] * f[1][1] * f[2][2] + f[0][1] * f[1][2] * f[2][0] + f[0][2] * f[1][0] * f[2][1] -
         f[0][2] * f[1][1] * f[2][0] - f[0][1] * f[1][0] * f[2][2] - f[0][0] * f[1][2] * f[2][1];
}

/// Largest deviation of a brick's Jacobians from a rotation. NaN is skipped.
class Shape {
 public:
  void take(Pair (&f)[3][3], Pair det) {
    if (!takeRegular(f, det)) {
      takeAny(f, 0, det[0]);
      takeAny(f, 1, det[1]);
    }
  }

  double stretch() const {
    double largest = stretch_;
    raise(largest, std::sqrt(squares_.low()) - 1);
    raise(largest, std::sqrt(squares_.high()) - 1);
    return largest;
  }

  double shear() const {
    double largest = shear_;
    raise(largest, shares_.low() / 2);
    raise(largest, shares_.high() / 2);
    return largest;
  }

 private:
  static void raise(double& largest, double value) {
    if (std::fabs(value) > largest) largest = std::fabs(value);
  }

  /// The common case. Square roots and halving are monotonic, even when rounded, so evaluating them
  /// for the extremes is enough. Changes nothing if a point needs a closer look.
  bool takeRegular(const Pair (&f)[3][3], Pair det) {
    if (!(det[0] >= smallDeterminant && det[1] >= smallDeterminant)) return false;
    Pair rows[3][3];
    std::copy_n(&f[0][0], 9, &rows[0][0]);
    OrthogonalRows<Pair> orthogonal;
    if (!orthogonal.orthogonalise(rows)) return false;
    for (int i = 0; i < 3; ++i) {
      squares_.take(orthogonal.squares[i]);
      shares_.take(orthogonal.shares[i]);
    }
    return true;
  }

  void takeAny(const Pair (&pair)[3][3], int lane, double det) {
    double f[3][3];
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) f[i][j] = pair[i][j][lane];
    NmVec3d scale;
    NmVec3d shear;
    // A reflection is not split, since decompose would fail.
    if (det >= 0.0 && decompose(f, det, scale, shear)) {
      for (int i = 0; i < 3; ++i) {
        raise(stretch_, scale[i] - 1);
        raise(shear_, shear[i]);
      }
    } else {
      for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) raise(i == j ? stretch_ : shear_, f[i][j] - (i == j ? 1 : 0));
    }
  }

  Range squares_{1.0};
  Range shares_{0.0};
  double stretch_ = 0.0;
  double shear_ = 0.0;
};

/// Destinations of the bricks' measures; null for those not requested.
struct Outputs {
  double* minJacobian;
  double* minDiagonal;
  double* maxStretch;
  double* maxShear;
};

/// Growth counts like shrinkage by the same factor. A brick with only NaN counts as undeformed.
double jacobianMeasure(const Range& determinants) {
  if (determinants.isEmpty()) return 1.0;
  return std::min(determinants.low(), 1.0 / std::max(determinants.high(), 1.0));
}

void analyseBrick(const double* terms, const double (&size)[3], const Outputs& out,
                  std::int64_t entry) {
  const SampledJacobian samples(terms, size);
  const bool wantsShape = out.maxStretch != nullptr || out.maxShear != nullptr;
  Range determinants;
  Shape shape;
  for (int q = 0; q < 2; ++q)
    for (int s = 0; s < 2; ++s) {
      Pair f[3][3];
      samples.at(s, q, f);
      const Pair det = determinant(f);
      determinants.take(det);
      if (wantsShape) shape.take(f, det);
    }
  out.minJacobian[entry] = jacobianMeasure(determinants);
  if (out.minDiagonal != nullptr) out.minDiagonal[entry] = samples.smallestDiagonal();
  if (out.maxStretch != nullptr) out.maxStretch[entry] = shape.stretch();
  if (out.maxShear != nullptr) out.maxShear[entry] = shape.shear();
}

/// The bricks from `first` up to, but excluding, `end`.
struct BrickRange {
  NmVec3i first;
  NmVec3i end;

  std::int64_t count() const {
    return static_cast<std::int64_t>(end.x - first.x) * (end.y - first.y) * (end.z - first.z);
  }

  /// Calls f(brick) with the running index of each brick, x fastest.
  template <class F>
  void forEach(const NmVec3i& n, F&& f) const {
    for (int bk = first.z; bk < end.z; ++bk)
      for (int bj = first.y; bj < end.y; ++bj)
        for (int bi = first.x; bi < end.x; ++bi) f(bi + n.x * (bj + n.y * bk));
  }
};

BrickRange bricksAround(const NmVec3i& n, int vertex) {
  const NmVec3i at = voxreg::detail::BrickTopology{n}.indicesOfVertex(vertex);
  BrickRange range;
  for (int axis = 0; axis < 3; ++axis) {
    range.first[axis] = std::max(at[axis] - 1, 0);
    range.end[axis] = std::min(at[axis] + 1, n[axis]);
  }
  return range;
}

template <class T>
T* filled(NmDArray<T>* values, std::int64_t count, T value) {
  if (values == nullptr) return nullptr;
  values->resize(count);
  std::fill_n(values->data, count, value);
  return values->data;
}

}  // namespace

float RegNonAffineTransform::computeJacobiTransforms(
    int vertex, int /*unused*/, NmDArray<double>& minJacobian, NmDArray<unsigned char>* emptyBricks,
    NmDArray<double>* minDiagonal, NmDArray<double>* maxStretch, NmDArray<double>* maxShear,
    NmDArray<int>* brickIndices) const {
  const NmWatch watch(true);
  const std::int64_t bricks = brickCount();
  if (bricks == 0 || coefficients.size != perBrick * bricks) return -1.0f;
  double size[3];
  for (int axis = 0; axis < 3; ++axis)
    size[axis] = referenceBox.extent(axis) / static_cast<float>(numBricks[axis]);
  if (!(size[0] * size[1] * size[2] > 0.0)) return -1.0f;

  const bool isLocal = vertex >= 0 && vertex < vertexCount();
  const BrickRange range =
      isLocal ? bricksAround(numBricks, vertex) : BrickRange{NmVec3i(), numBricks};
  const std::int64_t count = range.count();
  const Outputs out = {filled(&minJacobian, count, 1.0), filled(minDiagonal, count, 1.0),
                       filled(maxStretch, count, 0.0), filled(maxShear, count, 0.0)};
  int* const indices = isLocal ? filled(brickIndices, count, -1) : nullptr;
  const bool canSkip = emptyBricks != nullptr && emptyBricks->size == bricks;
  std::int64_t entry = 0;
  range.forEach(numBricks, [&](int brick) {
    if (indices != nullptr) indices[entry] = brick;
    if (!canSkip || (*emptyBricks)[brick] == 0)
      analyseBrick(coefficients.data + static_cast<std::int64_t>(perBrick) * brick, size, out,
                   entry);
    ++entry;
  });
  return watch.getTime();
}
