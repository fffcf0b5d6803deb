#pragma once

#include "foundation/NmMat4f.h"
#include "foundation/NmRotation.h"
#include "foundation/NmVec.h"

/// 4 x 4 matrix of doubles for computing with transforms; identity by default. Row vectors: a point
/// p maps to p * M, the translation is in m[3][0..2], the projective terms are in m[0..2][3], and
/// in p * A * B, A acts first. Nothing allocates, throws or logs.
class NmMat4d {
 public:
  double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

  NmMat4d() = default;
  NmMat4d(double a00, double a01, double a02, double a03, double a10, double a11, double a12,
          double a13, double a20, double a21, double a22, double a23, double a30, double a31,
          double a32, double a33);
  NmMat4d(const NmMat4d&) = default;
  NmMat4d& operator=(const NmMat4d&) = default;
  NmMat4d& operator=(const double values[4][4]);

  NmMat4d& setValue(double a00, double a01, double a02, double a03, double a10, double a11,
                    double a12, double a13, double a20, double a21, double a22, double a23,
                    double a30, double a31, double a32, double a33);
  void setValue(const NmMat4d& other);
  void setValue(const double values[4][4]);
  void setValue(const NmMat4f& other);
  void getValue(double values[4][4]) const;
  void getValue(NmMat4f& other) const;

  void makeIdentity();
  static NmMat4d identity();

  /// Diagonal matrices with the factors as the first three elements.
  void setScale(double factor);
  void setScale(const NmVec3f& factors);
  void setScale(const NmVec3d& factors);

  /// Pure translations.
  void setTranslate(const NmVec3f& offset);
  void setTranslate(const NmVec3d& offset);

  void setRotate(const NmRotation& rotation);

  NmMat4d transpose() const;

  /// this = b * this: b acts first. `b` may be this matrix.
  NmMat4d& multLeft(const NmMat4d& b);

  /// this = this * b: b acts last. `b` may be this matrix.
  NmMat4d& multRight(const NmMat4d& b);

  /// The point `src` (w = 1) as a row vector, divided by the resulting w. Sums are computed in
  /// double; `dst` may be `src`. A w of 0 gives infinities.
  void multVecMatrix(const NmVec3f& src, NmVec3f& dst) const;
  void multVecMatrix(const NmVec3d& src, NmVec3d& dst) const;

  /// The point as a column vector on the right, divided by the resulting w.
  void multMatrixVec(const NmVec3f& src, NmVec3f& dst) const;

  /// The direction through the upper 3 x 3, as a row vector.
  void multDirMatrix(const NmVec3f& src, NmVec3f& dst) const;
  void multDirMatrix(const NmVec3d& src, NmVec3d& dst) const;

  /// Homogeneous products without a divide: src * M, and M * src.
  void multVecMatrix(const NmVec4f& src, NmVec4f& dst) const;
  void multMatrixVec(const NmVec4f& src, NmVec4f& dst) const;

  /// Determinant of the elements in three rows and columns (of the upper 3 x 3 by default); indices
  /// count modulo 4. It is computed in single precision and then widened.
  double det3(int r1, int r2, int r3, int c1, int c2, int c3) const;
  double det3() const;

  /// Determinant by expansion along the first row, with single-precision minors.
  double det4() const;

  /// The inverse. An affine matrix is inverted by affine_inverse, any other by LU decomposition; a
  /// singular matrix gives huge values.
  NmMat4d inverse() const;

  /// Inverse of an affine matrix by its adjugate. Returns false, with `out` unchanged, if `in` has
  /// projective terms or its determinant is below 1e-15 of the sum of its terms. `out` may be `in`.
  bool affine_inverse(const NmMat4d& in, NmMat4d& out) const;

  /// Crout's LU decomposition in place, with implicit row scaling and partial pivoting (Press et
  /// al., Numerical Recipes, 2.3). Zero pivots become 1e-20. `index` receives the row exchanges and
  /// `d` their sign. Always returns 1.
  int LUDecomposition(int index[4], double& d);

  /// Solves for the right-hand side `b` in place; this matrix is a result of LUDecomposition.
  void LUBackSubstitution(const int index[4], double b[4]) const;

  /// Eigenvalues and eigenvectors of the symmetric upper 3 x 3 by cyclic Jacobi rotations
  /// (Numerical Recipes, 11.1), unsorted. Vector k is in column k: evectors[0..2][k]. `rots` grows
  /// by 3 per sweep.
  void jacobi3(double evalues[3], NmVec3f evectors[3], int& rots) const;

  /// Polar factorisation of the affine part, A = r * diag(s) * transpose(r) * u with u a rotation;
  /// a reflection makes all of `s` negative. `t` is the translation, `proj` always the identity.
  /// Returns false, with r, s and u unchanged, if |det| is below 1e-12.
  bool factor(NmMat4d& r, NmVec3f& s, NmMat4d& u, NmVec3f& t, NmMat4d& proj) const;

  /// The parts from which setTransform builds this matrix. If factor fails, the parts that it does
  /// not write are the identity.
  void getTransform(NmVec3f& translation, NmRotation& rotation, NmVec3f& scaleFactor,
                    NmRotation& scaleOrientation, const NmVec3f& center) const;

  /// Builds the matrix that moves a point by -center, scales it along the axes of
  /// scaleOrientation, rotates it, moves it by +center and translates it.
  void setTransform(const NmVec3f& translation, const NmRotation& rotation,
                    const NmVec3f& scaleFactor, const NmRotation& scaleOrientation,
                    const NmVec3f& center);
};
