#include "variational/search/matrixParameters.h"

#include <algorithm>
#include <cmath>

#include "foundation/numbers/elementary.h"

namespace voxreg::detail {
namespace {

struct Matrix3 {
  double m[3][3];
};

constexpr Matrix3 identity = {{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}};

Matrix3 operator*(const Matrix3& a, const Matrix3& b) {
  Matrix3 product = {};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      for (int k = 0; k < 3; ++k) product.m[i][j] += a.m[i][k] * b.m[k][j];
  return product;
}

/// A rotation about one axis, or its derivative by the angle.
Matrix3 turnAbout(int axis, double angle, bool isDerivative) {
  const int j = (axis + 1) % 3;
  const int k = (axis + 2) % 3;
  const double c = isDerivative ? -sine(angle) : cosine(angle);
  const double s = isDerivative ? cosine(angle) : sine(angle);
  Matrix3 turn = isDerivative ? Matrix3{} : identity;
  turn.m[j][j] = c;
  turn.m[j][k] = s;
  turn.m[k][j] = -s;
  turn.m[k][k] = c;
  return turn;
}

constexpr int noAxis = -1;

/// The product of rotations about x, y and z, one of them differentiated.
Matrix3 rotation(const double* angles, int differentiated) {
  Matrix3 product = identity;
  for (int axis = 0; axis < 3; ++axis)
    product = product * turnAbout(axis, angles[axis], axis == differentiated);
  return product;
}

double dot(const Matrix3& a, const double (&b)[3][3]) {
  double sum = 0.0;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) sum += a.m[i][j] * b[i][j];
  return sum;
}

/// Row i of a matrix, and zeros.
Matrix3 rowOf(const Matrix3& matrix, int i) {
  Matrix3 row = {};
  for (int j = 0; j < 3; ++j) row.m[i][j] = matrix.m[i][j];
  return row;
}

Matrix3 linearPart(const NmMat4d& matrix) {
  Matrix3 linear;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) linear.m[i][j] = matrix.m[i][j];
  return linear;
}

constexpr std::size_t firstAngle = 3;
constexpr std::size_t firstScale = 6;
constexpr std::size_t firstEntry = 3;

}  // namespace

MatrixParameters::MatrixParameters(int degreesOfFreedom, const NmMat4d& base, const NmVec3d& centre,
                                   const NmVec3d& spread)
    : degreesOfFreedom_(degreesOfFreedom), base_(base), centre_(centre) {
  base_.multVecMatrix(centre_, image_);
  const double whole = std::hypot(spread.x, spread.y, spread.z);
  for (int a = 0; a < 3; ++a) {
    const double along = degreesOfFreedom_ == 7 ? whole : spread[a];
    alongUnit_[a] = 1.0 / std::max(along, 1.0);
    angleUnit_[a] = 1.0 / std::max(std::hypot(spread[(a + 1) % 3], spread[(a + 2) % 3]), 1.0);
  }
}

std::size_t MatrixParameters::scaleIndex(int axis) const {
  return firstScale + static_cast<std::size_t>(degreesOfFreedom_ == 9 ? axis : 0);
}

NmMat4d MatrixParameters::matrixAt(const std::vector<double>& parameters) const {
  Matrix3 linear = linearPart(base_);
  if (isFree()) {
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j)
        linear.m[i][j] +=
            parameters[firstEntry + static_cast<std::size_t>(3 * i + j)] * alongUnit_[i];
  } else if (degreesOfFreedom_ > 3) {
    double angles[3];
    for (int a = 0; a < 3; ++a)
      angles[a] = parameters[firstAngle + static_cast<std::size_t>(a)] * angleUnit_[a];
    for (int i = 0; i < 3 && degreesOfFreedom_ > 6; ++i)
      for (int j = 0; j < 3; ++j) linear.m[i][j] *= 1.0 + parameters[scaleIndex(i)] * alongUnit_[i];
    linear = linear * rotation(angles, noAxis);
  }
  NmMat4d matrix;
  for (int j = 0; j < 3; ++j) {
    matrix.m[3][j] = image_[j] + parameters[static_cast<std::size_t>(j)];
    for (int i = 0; i < 3; ++i) {
      matrix.m[i][j] = linear.m[i][j];
      matrix.m[3][j] -= centre_[i] * linear.m[i][j];
    }
  }
  return matrix;
}

void MatrixParameters::differentiate(const std::vector<double>& parameters,
                                     const MatrixDerivative& by,
                                     std::vector<double>& gradient) const {
  std::fill(gradient.begin(), gradient.end(), 0.0);
  for (std::size_t j = 0; j < 3; ++j) gradient[j] = by.byShift[j];
  if (degreesOfFreedom_ == 3) return;
  if (isFree()) {
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j)
        gradient[firstEntry + static_cast<std::size_t>(3 * i + j)] =
            by.byLinear[i][j] * alongUnit_[i];
    return;
  }
  double angles[3];
  for (int a = 0; a < 3; ++a)
    angles[a] = parameters[firstAngle + static_cast<std::size_t>(a)] * angleUnit_[a];
  const Matrix3 base = linearPart(base_);
  Matrix3 scaled = base;
  for (int i = 0; i < 3 && degreesOfFreedom_ > 6; ++i) {
    for (int j = 0; j < 3; ++j) scaled.m[i][j] *= 1.0 + parameters[scaleIndex(i)] * alongUnit_[i];
    gradient[scaleIndex(i)] +=
        dot(rowOf(base, i) * rotation(angles, noAxis), by.byLinear) * alongUnit_[i];
  }
  for (int a = 0; a < 3; ++a)
    gradient[firstAngle + static_cast<std::size_t>(a)] =
        dot(scaled * rotation(angles, a), by.byLinear) * angleUnit_[a];
}

}  // namespace voxreg::detail
