#include "foundation/NmMat4d.h"

#include <cmath>
#include <cstring>
#include <utility>

#include "foundation/NmMat3f.h"

namespace {

NmMat4d product(const NmMat4d& a, const NmMat4d& b) {
  NmMat4d result;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      result.m[i][j] = a.m[i][0] * b.m[0][j] + a.m[i][1] * b.m[1][j] + a.m[i][2] * b.m[2][j] +
                       a.m[i][3] * b.m[3][j];
  return result;
}

template <class Vec>
void setDiagonal(NmMat4d& matrix, const Vec& factors) {
  matrix.makeIdentity();
  for (int i = 0; i < 3; ++i) matrix.m[i][i] = factors[i];
}

template <class Vec>
void setOffset(NmMat4d& matrix, const Vec& offset) {
  matrix.makeIdentity();
  for (int j = 0; j < 3; ++j) matrix.m[3][j] = offset[j];
}

template <class Vec>
void mapPoint(const NmMat4d& matrix, const Vec& src, Vec& dst) {
  using Scalar = decltype(dst.x);
  const auto& m = matrix.m;
  const double x = src.x;
  const double y = src.y;
  const double z = src.z;
  const double inverseW = 1.0 / (x * m[0][3] + y * m[1][3] + z * m[2][3] + m[3][3]);
  for (int j = 0; j < 3; ++j)
    dst[j] = static_cast<Scalar>((x * m[0][j] + y * m[1][j] + z * m[2][j] + m[3][j]) * inverseW);
}

template <class Vec>
void mapDirection(const NmMat4d& matrix, const Vec& src, Vec& dst) {
  using Scalar = decltype(dst.x);
  const auto& m = matrix.m;
  const double x = src.x;
  const double y = src.y;
  const double z = src.z;
  for (int j = 0; j < 3; ++j) dst[j] = static_cast<Scalar>(x * m[0][j] + y * m[1][j] + z * m[2][j]);
}

bool isAffine(const NmMat4d& a) {
  return a.m[0][3] == 0.0 && a.m[1][3] == 0.0 && a.m[2][3] == 0.0 && a.m[3][3] == 1.0;
}

bool isIdentity(const NmMat4d& a) {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      if (a.m[i][j] != (i == j ? 1.0 : 0.0)) return false;
  return true;
}

/// Determinant relative to the sum of the magnitudes of its six terms, and the determinant.
struct Conditioning {
  double relative;
  double determinant;
};

Conditioning conditioning(const double (&a)[4][4]) {
  const double terms[6] = {a[0][0] * a[1][1] * a[2][2],  a[0][1] * a[1][2] * a[2][0],
                           a[0][2] * a[1][0] * a[2][1],  -a[0][2] * a[1][1] * a[2][0],
                           -a[0][1] * a[1][0] * a[2][2], -a[0][0] * a[1][2] * a[2][1]};
  double positive = 0.0;
  double negative = 0.0;
  for (const double term : terms) (term >= 0.0 ? positive : negative) += term;
  const double determinant = positive + negative;
  return {determinant / (positive - negative), determinant};
}

/// Reciprocals of the rows' largest magnitudes; a zero row gets a small diagonal element.
void scaleRows(double (&m)[4][4], double (&scale)[4]) {
  constexpr double emptyRow = 1e-06f;
  for (int i = 0; i < 4; ++i) {
    double big = 0.0;
    for (int j = 0; j < 4; ++j)
      if (std::fabs(m[i][j]) > big) big = std::fabs(m[i][j]);
    if (big == 0.0) big = m[i][i] = emptyRow;
    scale[i] = 1.0 / big;
  }
}

void reduceColumn(double (&m)[4][4], int j) {
  for (int i = 0; i < 4; ++i) {
    const int terms = i < j ? i : j;
    for (int k = 0; k < terms; ++k) m[i][j] -= m[i][k] * m[k][j];
  }
}

/// The later row wins a tie; a column of NaN keeps the diagonal.
int pivotRow(const double (&m)[4][4], const double (&scale)[4], int j) {
  int pivot = j;
  double big = 0.0;
  for (int i = j; i < 4; ++i) {
    const double candidate = scale[i] * std::fabs(m[i][j]);
    if (candidate >= big) {
      big = candidate;
      pivot = i;
    }
  }
  return pivot;
}

}  // namespace

NmMat4d::NmMat4d(double a00, double a01, double a02, double a03, double a10, double a11, double a12,
                 double a13, double a20, double a21, double a22, double a23, double a30, double a31,
                 double a32, double a33)
    : m{{a00, a01, a02, a03}, {a10, a11, a12, a13}, {a20, a21, a22, a23}, {a30, a31, a32, a33}} {}

NmMat4d& NmMat4d::operator=(const double values[4][4]) {
  setValue(values);
  return *this;
}

NmMat4d& NmMat4d::setValue(double a00, double a01, double a02, double a03, double a10, double a11,
                           double a12, double a13, double a20, double a21, double a22, double a23,
                           double a30, double a31, double a32, double a33) {
  return *this = NmMat4d(a00, a01, a02, a03, a10, a11, a12, a13, a20, a21, a22, a23, a30, a31, a32,
                         a33);
}

void NmMat4d::setValue(const NmMat4d& other) {
  *this = other;
}

void NmMat4d::setValue(const double values[4][4]) {
  std::memmove(m, values, sizeof m);
}

void NmMat4d::setValue(const NmMat4f& other) {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) m[i][j] = other.m[i][j];
}

void NmMat4d::getValue(double values[4][4]) const {
  std::memmove(values, m, sizeof m);
}

void NmMat4d::getValue(NmMat4f& other) const {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) other.m[i][j] = static_cast<float>(m[i][j]);
}

void NmMat4d::makeIdentity() {
  *this = NmMat4d();
}

NmMat4d NmMat4d::identity() {
  return {};
}

void NmMat4d::setScale(double factor) {
  setDiagonal(*this, NmVec3d(factor, factor, factor));
}
void NmMat4d::setScale(const NmVec3f& factors) {
  setDiagonal(*this, factors);
}
void NmMat4d::setScale(const NmVec3d& factors) {
  setDiagonal(*this, factors);
}

void NmMat4d::setTranslate(const NmVec3f& offset) {
  setOffset(*this, offset);
}
void NmMat4d::setTranslate(const NmVec3d& offset) {
  setOffset(*this, offset);
}

void NmMat4d::setRotate(const NmRotation& rotation) {
  NmMat4f narrow;
  rotation.getValue(narrow);
  setValue(narrow);
}

NmMat4d NmMat4d::transpose() const {
  NmMat4d result;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) result.m[i][j] = m[j][i];
  return result;
}

NmMat4d& NmMat4d::multLeft(const NmMat4d& b) {
  return *this = product(b, *this);
}
NmMat4d& NmMat4d::multRight(const NmMat4d& b) {
  return *this = product(*this, b);
}

void NmMat4d::multVecMatrix(const NmVec3f& src, NmVec3f& dst) const {
  mapPoint(*this, src, dst);
}
void NmMat4d::multVecMatrix(const NmVec3d& src, NmVec3d& dst) const {
  mapPoint(*this, src, dst);
}

void NmMat4d::multMatrixVec(const NmVec3f& src, NmVec3f& dst) const {
  mapPoint(transpose(), src, dst);
}

void NmMat4d::multDirMatrix(const NmVec3f& src, NmVec3f& dst) const {
  mapDirection(*this, src, dst);
}

void NmMat4d::multDirMatrix(const NmVec3d& src, NmVec3d& dst) const {
  mapDirection(*this, src, dst);
}

void NmMat4d::multVecMatrix(const NmVec4f& src, NmVec4f& dst) const {
  const double v[4] = {src.x, src.y, src.z, src.w};
  for (int j = 0; j < 4; ++j)
    dst[j] = static_cast<float>(v[0] * m[0][j] + v[1] * m[1][j] + v[2] * m[2][j] + v[3] * m[3][j]);
}

void NmMat4d::multMatrixVec(const NmVec4f& src, NmVec4f& dst) const {
  transpose().multVecMatrix(src, dst);
}

double NmMat4d::det3(int r1, int r2, int r3, int c1, int c2, int c3) const {
  const auto at = [this](int row, int column) {
    return static_cast<float>(m[row & 3][column & 3]);
  };
  const NmMat3f n(at(r1, c1), at(r1, c2), at(r1, c3), at(r2, c1), at(r2, c2), at(r2, c3),
                  at(r3, c1), at(r3, c2), at(r3, c3));
  const auto& a = n.m;
  const float determinant = a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) -
                            a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
                            a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
  return determinant;
}

double NmMat4d::det3() const {
  return det3(0, 1, 2, 0, 1, 2);
}

double NmMat4d::det4() const {
  return m[0][0] * det3(1, 2, 3, 1, 2, 3) - m[0][1] * det3(1, 2, 3, 0, 2, 3) +
         m[0][2] * det3(1, 2, 3, 0, 1, 3) - m[0][3] * det3(1, 2, 3, 0, 1, 2);
}

NmMat4d NmMat4d::inverse() const {
  if (isIdentity(*this)) return {};
  NmMat4d result;
  if (affine_inverse(*this, result)) return result;
  NmMat4d work = *this;
  int index[4];
  double sign;
  work.LUDecomposition(index, sign);
  for (auto& solution : result.m) work.LUBackSubstitution(index, solution);
  return result.transpose();
}

bool NmMat4d::affine_inverse(const NmMat4d& in, NmMat4d& out) const {
  if (!isAffine(in)) return false;
  const NmMat4d copy = in;  // `out` may be `in`
  const auto& a = copy.m;
  const Conditioning found = conditioning(a);
  if (!(std::fabs(found.relative) >= 1e-15)) return false;
  const double q = 1.0 / found.determinant;
  const auto& o = out.m;
  out = NmMat4d(
      (a[1][1] * a[2][2] - a[1][2] * a[2][1]) * q, -(a[0][1] * a[2][2] - a[0][2] * a[2][1]) * q,
      (a[0][1] * a[1][2] - a[0][2] * a[1][1]) * q, 0.0,
      -(a[1][0] * a[2][2] - a[1][2] * a[2][0]) * q, (a[0][0] * a[2][2] - a[0][2] * a[2][0]) * q,
      -(a[0][0] * a[1][2] - a[0][2] * a[1][0]) * q, 0.0,
      (a[1][0] * a[2][1] - a[1][1] * a[2][0]) * q, -(a[0][0] * a[2][1] - a[0][1] * a[2][0]) * q,
      (a[0][0] * a[1][1] - a[0][1] * a[1][0]) * q, 0.0, 0.0, 0.0, 0.0, 1.0);
  for (int j = 0; j < 3; ++j)
    out.m[3][j] = -(a[3][0] * o[0][j] + a[3][1] * o[1][j] + a[3][2] * o[2][j]);
  return true;
}

int NmMat4d::LUDecomposition(int index[4], double& d) {
  constexpr double zeroPivot = 1e-20f;
  double scale[4];
  d = 1.0;
  scaleRows(m, scale);
  for (int j = 0; j < 4; ++j) {
    reduceColumn(m, j);
    const int pivot = pivotRow(m, scale, j);
    if (pivot != j) {
      std::swap(m[pivot], m[j]);
      d = -d;
      scale[pivot] = scale[j];
    }
    index[j] = pivot;
    if (m[j][j] == 0.0) m[j][j] = zeroPivot;
    const double inversePivot = 1.0 / m[j][j];
    for (int i = j + 1; i < 4; ++i) m[i][j] *= inversePivot;
  }
  return 1;
}

void NmMat4d::LUBackSubstitution(const int index[4], double b[4]) const {
  int first = -1;
  for (int i = 0; i < 4; ++i) {
    const int row = index[i] & 3;
    double sum = b[row];
    b[row] = b[i];
    if (first >= 0)
      for (int j = first; j < i; ++j) sum -= m[i][j] * b[j];
    else if (sum != 0.0)
      first = i;
    b[i] = sum;
  }
  for (int i = 3; i >= 0; --i) {
    for (int j = i + 1; j < 4; ++j) b[i] -= m[i][j] * b[j];
    b[i] /= m[i][i];
  }
}
