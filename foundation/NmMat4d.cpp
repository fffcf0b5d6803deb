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

bool isNonZero(const NmVec3f& v) {
  return v != NmVec3f();
}

NmVec3f negative(const NmVec3f& v) {
  return {-v.x, -v.y, -v.z};
}

NmRotation rotationOf(const NmMat4d& matrix) {
  NmMat4f narrow;
  matrix.getValue(narrow);
  NmRotation rotation;
  rotation.setValue(narrow);
  return rotation;
}

void prependTranslation(NmMat4d& matrix, const NmVec3f& offset) {
  NmMat4d step;
  step.setTranslate(offset);
  matrix.multLeft(step);
}

void prependRotation(NmMat4d& matrix, const NmRotation& rotation) {
  NmMat4d step;
  step.setRotate(rotation);
  matrix.multLeft(step);
}

void prependScale(NmMat4d& matrix, const NmVec3f& factors, const NmRotation& orientation) {
  const bool oriented = !(orientation == NmRotation());
  if (oriented) prependRotation(matrix, orientation);
  NmMat4d step;
  step.setScale(factors);
  matrix.multLeft(step);
  if (!oriented) return;
  NmRotation back = orientation;
  back.invert();
  prependRotation(matrix, back);
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

/// Symmetric 3 x 3 matrix that is being diagonalised.
class JacobiSweeps {
 public:
  JacobiSweeps(const double (&m)[4][4], double* evalues, NmVec3f* evectors)
      : evalues_(evalues), evectors_(evectors) {
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        a_[i][j] = m[i][j];
        evectors_[i][j] = i == j ? 1.0f : 0.0f;
      }
      evalues_[i] = base_[i] = m[i][i];
    }
  }

  double offDiagonalSum() const {
    return std::fabs(a_[0][1]) + std::fabs(a_[0][2]) + std::fabs(a_[1][2]);
  }

  void visit(int p, int q, int sweep, double threshold) {
    const double g = 100.0 * std::fabs(a_[p][q]);
    if (sweep >= 4 && isLost(g, evalues_[p]) && isLost(g, evalues_[q]))
      a_[p][q] = 0.0;
    else if (std::fabs(a_[p][q]) > threshold)
      rotate(p, q, g);
  }

  /// The shifts of one sweep are summed separately, which keeps their rounding error small.
  void finishSweep() {
    for (int i = 0; i < 3; ++i) {
      base_[i] += shift_[i];
      evalues_[i] = base_[i];
      shift_[i] = 0.0;
    }
  }

 private:
  static bool isLost(double small, double value) {
    return small + std::fabs(value) == std::fabs(value);
  }

  void rotate(int p, int q, double g) {
    const double h = evalues_[q] - evalues_[p];
    const double t = isLost(g, h) ? a_[p][q] / h : tangent(h * 0.5 / a_[p][q]);
    const double c = 1.0 / std::sqrt(t * t + 1.0);
    const double s = t * c;
    const double tau = s / (c + 1.0);
    const double w = t * a_[p][q];
    shift_[p] -= w;
    shift_[q] += w;
    evalues_[p] -= w;
    evalues_[q] += w;
    a_[p][q] = 0.0;
    for (int j = 0; j < p; ++j) turn(a_[j][p], a_[j][q], s, tau);
    for (int j = p + 1; j < q; ++j) turn(a_[p][j], a_[j][q], s, tau);
    for (int j = q + 1; j < 3; ++j) turn(a_[p][j], a_[q][j], s, tau);
    for (int j = 0; j < 3; ++j) turn(evectors_[j][p], evectors_[j][q], s, tau);
  }

  static double tangent(double theta) {
    const double t = 1.0 / (std::fabs(theta) + std::sqrt(theta * theta + 1.0));
    return theta < 0.0 ? -t : t;
  }

  template <class Scalar>
  static void turn(Scalar& first, Scalar& second, double s, double tau) {
    const double x = first;
    const double y = second;
    first = static_cast<Scalar>(x - s * (y + x * tau));
    second = static_cast<Scalar>(y + s * (x - y * tau));
  }

  double a_[3][3];
  double base_[3];
  double shift_[3] = {};
  double* evalues_;
  NmVec3f* evectors_;
};

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

void NmMat4d::jacobi3(double evalues[3], NmVec3f evectors[3], int& rots) const {
  constexpr int sweepLimit = 50;
  JacobiSweeps sweeps(m, evalues, evectors);
  rots = 0;
  for (int sweep = 0; sweep < sweepLimit; ++sweep) {
    const double sum = sweeps.offDiagonalSum();
    if (sum == 0.0) return;
    const double threshold = sweep < 3 ? sum * 0.2 / 9.0 : 0.0;
    sweeps.visit(0, 1, sweep, threshold);
    sweeps.visit(0, 2, sweep, threshold);
    sweeps.visit(1, 2, sweep, threshold);
    rots += 3;
    sweeps.finishSweep();
  }
}

bool NmMat4d::factor(NmMat4d& r, NmVec3f& s, NmMat4d& u, NmVec3f& t, NmMat4d& proj) const {
  NmMat4d a = *this;
  for (int i = 0; i < 3; ++i) {
    t[i] = static_cast<float>(m[3][i]);
    a.m[i][3] = a.m[3][i] = 0.0;
  }
  a.m[3][3] = 1.0;
  proj.makeIdentity();
  const double determinant = a.det3();
  if (!(std::fabs(determinant) >= 1e-12)) return false;
  const double sign = determinant < 0.0 ? -1.0 : 1.0;

  double evalues[3];
  NmVec3f evectors[3];
  int rots;
  product(a, a.transpose()).jacobi3(evalues, evectors, rots);
  r.makeIdentity();
  NmMat4d reciprocal;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) r.m[i][j] = evectors[i][j];
    s[i] = static_cast<float>(std::sqrt(evalues[i]) * sign);
    reciprocal.m[i][i] = 1.0 / s[i];
  }
  u = product(product(product(r, reciprocal), r.transpose()), a);
  return true;
}

void NmMat4d::getTransform(NmVec3f& translation, NmRotation& rotation, NmVec3f& scaleFactor,
                           NmRotation& scaleOrientation, const NmVec3f& center) const {
  NmMat4d work = *this;
  if (isNonZero(center)) {
    work.setTranslate(negative(center));
    work.multLeft(*this);
    prependTranslation(work, center);
  }
  NmMat4d r;
  NmMat4d u;
  NmMat4d proj;
  NmVec3f s(1.0f, 1.0f, 1.0f);
  work.factor(r, s, u, translation, proj);
  scaleFactor = s;
  scaleOrientation = rotationOf(r.transpose());
  rotation = rotationOf(u);
}

void NmMat4d::setTransform(const NmVec3f& translation, const NmRotation& rotation,
                           const NmVec3f& scaleFactor, const NmRotation& scaleOrientation,
                           const NmVec3f& center) {
  makeIdentity();
  if (isNonZero(translation)) prependTranslation(*this, translation);
  if (isNonZero(center)) prependTranslation(*this, center);
  if (!(rotation == NmRotation())) prependRotation(*this, rotation);
  if (scaleFactor != NmVec3f(1.0f, 1.0f, 1.0f)) prependScale(*this, scaleFactor, scaleOrientation);
  if (isNonZero(center)) prependTranslation(*this, negative(center));
}
