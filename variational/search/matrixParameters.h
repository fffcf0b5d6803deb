#pragma once

#include <vector>

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"

namespace voxreg::detail {

/// How a function changes with a map y = (x - centre) * A + b.
struct MatrixDerivative {
  double byLinear[3][3];  ///< by A, row vectors
  double byShift[3];      ///< by b
};

/// Maps of 3 (shift), 6 (rigid), 7 (one scale), 9 (a scale for each axis of the reference) or 12
/// (affine) degrees of freedom around a given matrix. A parameter of 1 moves the reference's voxels
/// by about a millimetre, so that one step length suits all of them. With A0 the linear part of the
/// base, S(s) the scales 1 + s along the reference's axes, R(r) the rotation by three angles and t
/// a shift, the map is
///   y = (x - centre) * S(s) A0 R(r) + (image of the centre under the base) + t,
/// and A0 + P takes the place of S A0 R for 12 degrees of freedom.
class MatrixParameters {
 public:
  /// `spread` is the standard deviation of the voxels that matter from `centre`, along each axis.
  MatrixParameters(int degreesOfFreedom, const NmMat4d& base, const NmVec3d& centre,
                   const NmVec3d& spread);

  int count() const { return degreesOfFreedom_; }
  const NmVec3d& centre() const { return centre_; }

  /// The matrix at these parameters, row vectors; the base at zeros.
  NmMat4d matrixAt(const std::vector<double>& parameters) const;

  /// The derivatives by the parameters.
  void differentiate(const std::vector<double>& parameters, const MatrixDerivative& by,
                     std::vector<double>& gradient) const;

 private:
  bool isFree() const { return degreesOfFreedom_ == 12; }
  std::size_t scaleIndex(int axis) const;

  int degreesOfFreedom_;
  NmMat4d base_;
  NmVec3d centre_;
  NmVec3d image_;        ///< of the centre under the base
  double alongUnit_[3];  ///< of entries and scales of an axis
  double angleUnit_[3];  ///< radians
};

}  // namespace voxreg::detail
