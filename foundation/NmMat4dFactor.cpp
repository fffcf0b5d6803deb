#include "foundation/NmMat4d.h"

#include <cmath>

#include "foundation/NmMat4f.h"
#include "foundation/NmRotation.h"

namespace {

NmMat4d product(const NmMat4d& a, const NmMat4d& b) {
  NmMat4d result = a;
  return result.multRight(b);
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
