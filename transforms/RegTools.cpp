#include "transforms/RegTools.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "foundation/NmBox.h"
#include "foundation/VlData.h"
#include "foundation/numbers/elementary.h"
#include "foundation/voxels/volumeFrame.h"
#include "transforms/affineParameters.h"

using voxreg::detail::affineParameterCount;
using voxreg::detail::identityParameter;

namespace {

constexpr double radiansPerDegree = 0.017453292519943295;
constexpr double degreesPerRadian = 57.29577951308232;

/// Lower limit of a row's squared norm, and the scale of a row below it.
constexpr double smallestSquare = 1e-06;
constexpr double smallestScale = 0.001;

int next(int i) {
  return (i + 1) % 3;
}

double dotRows(const NmMat4d& a, int i, int j) {
  return a.m[i][0] * a.m[j][0] + a.m[i][1] * a.m[j][1] + a.m[i][2] * a.m[j][2];
}

struct RowNorms {
  double n[3];

  explicit RowNorms(const NmMat4d& a) {
    for (int i = 0; i < 3; ++i) n[i] = std::max(smallestSquare, dotRows(a, i, i));
  }
};

NmMat4d symmetricShear(double s01, double s12, double s02) {
  return {1, s01, s02, 0, s01, 1, s12, 0, s02, s12, 1, 0, 0, 0, 0, 1};
}

/// The shear matrix of (x, y, z), with its off-diagonal terms reduced until it is far from
/// singular.
NmMat4d dampedShear(const double (&shear)[3], double ratio) {
  double f = 1.0;
  NmMat4d h = symmetricShear(f * shear[0], f * shear[1], f * shear[2]);
  while (std::fabs(h.det3()) < 1e-06) {
    f = f * ratio;
    h = symmetricShear(f * shear[0], f * shear[1], f * shear[2]);
  }
  return h;
}

/// One fixed-point step towards the shears for which the rows of inverse(H) * a are orthogonal;
/// each line uses the newest values. `k` holds the couplings of the rows 01, 12, 20 of the input.
void refineShears(const double (&k)[3], const double (&n)[3], double (&shear)[3]) {
  double& x = shear[0];
  double& y = shear[1];
  double& z = shear[2];
  const double n01 = n[0] + n[1];
  const double n12 = n[1] + n[2];
  const double n02 = n[0] + n[2];
  x = (k[0] * ((y * y + z * z) * n[2] + (x * x + 1.0) * n01) - n[2] * y * z) / n01;
  y = (k[1] * ((z * z + x * x) * n[0] + (y * y + 1.0) * n12) - n[0] * x * z) / n12;
  z = (k[2] * ((y * y + x * x) * n[1] + (z * z + 1.0) * n02) - n[1] * x * y) / n02;
}

bool rowsAreOrthogonal(const NmMat4d& b, const double (&n)[3]) {
  for (int i = 0; i < 3; ++i) {
    const int j = next(i);
    if (std::fabs(dotRows(b, i, j)) / std::sqrt(n[i] * n[j]) > 1e-06) return false;
  }
  return true;
}

/// Finds the shears of `a` and returns the matrix without them. It is computed with the damped
/// shear matrix, but `shear` is not damped. The damping is empirical.
NmMat4d separateShears(const NmMat4d& a, double (&shear)[3]) {
  constexpr int iterationLimit = 100;
  RowNorms norms(a);
  double k[3];
  for (int i = 0; i < 3; ++i) k[i] = dotRows(a, i, next(i)) / (norms.n[i] + norms.n[next(i)]);
  NmMat4d b;
  for (int iteration = 0; iteration < iterationLimit; ++iteration) {
    refineShears(k, norms.n, shear);
    b = dampedShear(shear, 0.9 + 0.0008 * iteration).inverse();
    b.multRight(a);
    norms = RowNorms(b);
    if (rowsAreOrthogonal(b, norms.n)) break;
  }
  return b;
}

double angle(double sine, double cosine) {
  return -degreesPerRadian * voxreg::detail::arcTangent(sine, cosine);
}

/// (sine, cosine) scaled to unit length, or those of 0 degrees if `length` is too small.
void normalise(double& sine, double& cosine, double length) {
  const bool usable = length >= smallestScale;
  sine = usable ? sine / length : 0.0;
  cosine = usable ? cosine / length : 1.0;
}

/// Angles of the rotation whose rows 0 and 2 are given: c and b from row 0, a from row 2.
void readAngles(const NmVec3d& row0, const NmVec3d& row2, double* angles) {
  const double inPlane = row0.x * row0.x + row0.y * row0.y;
  const double c1 = std::sqrt(inPlane);
  double u = row0.x;
  double v = row0.y;
  normalise(v, u, c1);
  angles[2] = angle(v, u);

  const double w1 = std::sqrt(row0.z * row0.z + row0.y * row0.y + row0.x * row0.x);
  if (!(w1 >= smallestScale)) return;
  const double w = row0.z / w1;
  const double q = c1 >= smallestScale ? inPlane / (c1 * w1) : row0.x / w1;
  angles[1] = angle(w, q);

  double cosine = q * row2.z - v * w * row2.y - row2.x * w * u;
  double sine = u * row2.y - row2.x * v;
  normalise(sine, cosine, std::sqrt(cosine * cosine + sine * sine));
  angles[0] = angle(sine, cosine);
}

NmVec3d scaledRow(const NmMat4d& a, int row, double scale) {
  return {a.m[row][0] / scale, a.m[row][1] / scale, a.m[row][2] / scale};
}

/// diag(scales) * X(a) * Y(b) * Z(c)
NmMat4d scaledRotation(const double* angles, const double* scales) {
  using voxreg::detail::cosine;
  using voxreg::detail::sine;
  const double sa = sine(angles[0] * radiansPerDegree);
  const double ca = cosine(angles[0] * radiansPerDegree);
  const double sb = sine(angles[1] * radiansPerDegree);
  const double cb = cosine(angles[1] * radiansPerDegree);
  const double sc = sine(angles[2] * radiansPerDegree);
  const double cc = cosine(angles[2] * radiansPerDegree);
  const double s0 = scales[0];
  const double s1 = scales[1];
  const double s2 = scales[2];
  return {cb * cc * s0,
          -(cb * sc * s0),
          -(sb * s0),
          0,
          (ca * sc + sa * sb * cc) * s1,
          (ca * cc - sa * sb * sc) * s1,
          sa * cb * s1,
          0,
          (ca * sb * cc - sa * sc) * s2,
          (-(ca * sb * sc) - sa * cc) * s2,
          ca * cb * s2,
          0,
          0,
          0,
          0,
          1};
}

}  // namespace

void RegTools::composeMatrix(const NmDVector<double>& p, NmMat4d& m) {
  double t[affineParameterCount];
  for (int i = 0; i < affineParameterCount; ++i) t[i] = i < p.size ? p[i] : identityParameter(i);
  const double* const shear = t + 9;
  const double* const z = t + 12;
  m = scaledRotation(t + 3, t + 6);
  m.multLeft(symmetricShear(shear[0], shear[1], shear[2]));
  for (int j = 0; j < 3; ++j)
    m.m[3][j] = t[j] - (m.m[0][j] * z[0] + m.m[1][j] * z[1] + m.m[2][j] * z[2]) + z[j];
}

void RegTools::decomposeMatrix(const NmMat4d& m, NmDVector<double>& p) {
  p.resize(affineParameterCount);
  std::fill_n(p.data, affineParameterCount, 0.0);
  double shear[3] = {};
  const NmMat4d a = separateShears(m, shear);
  for (int i = 0; i < 3; ++i) {
    const double square = dotRows(a, i, i);
    p[i] = a.m[3][i];
    p[6 + i] = square > smallestSquare ? std::sqrt(square) : smallestScale;
    p[9 + i] = shear[i];
  }
  readAngles(scaledRow(a, 0, p[6]), scaledRow(a, 2, p[8]), p.data + 3);
}

NmVec3f RegTools::getBoundingBoxOrigin(VlData* volume) {
  if (volume == nullptr) return {};
  const NmBox3f box = voxreg::detail::boxOf(*volume);
  return {box.xmin, box.ymin, box.zmin};
}

NmVec3f RegTools::getBoundingBoxSize(VlData* volume) {
  if (volume == nullptr) return {};
  const NmBox3f box = voxreg::detail::boxOf(*volume);
  return {box.extent(0), box.extent(1), box.extent(2)};
}
