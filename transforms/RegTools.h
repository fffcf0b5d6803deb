#pragma once

#include "foundation/NmDVector.h"
#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"

class VlData;

/// Conversions between the fifteen parameters of an affine transform and its matrix, and the
/// corners of volumes. The parameters are three translations (world units), three angles (degrees),
/// three scales, the shears 01, 12, 02, and the center of rotation, scale and shear.
class RegTools {
 public:
  /// H * diag(scales) * X(a) * Y(b) * Z(c) about the center, then the translation; H is the
  /// symmetric shear matrix with unit diagonal. A vector shorter than 15 is completed with the
  /// values of the identity.
  static void composeMatrix(const NmDVector<double>& p, NmMat4d& m);

  /// Parameters of a matrix, with the center at 0; `p` gets 15 elements. The shears are found by
  /// iteration, damped close to a singular H, so that any matrix gives usable parameters. Composing
  /// them gives `m` again for a positive determinant, scales above 0.001 and |b| <= 90.
  static void decomposeMatrix(const NmMat4d& m, NmDVector<double>& p);

  /// Minimum corner of the bounding box, world units; zeros for a null volume.
  static NmVec3f getBoundingBoxOrigin(VlData* volume);

  /// Extents of the bounding box, world units; zeros for a null volume.
  static NmVec3f getBoundingBoxSize(VlData* volume);
};
