#pragma once

#include "foundation/NmHandle.h"
#include "foundation/NmMat4d.h"
#include "foundation/VlData.h"
#include "transforms/RegParametricTransform.h"

/// Rigid or affine transform from model world to reference world, given by 15 parameters
/// (RegTools). The matrices change only through init, composeMatrix, apply and
/// setDegreesOfFreedom(7); whoever writes `params` brings them up to date by apply().
class RegAffineTransform : public RegParametricTransform {
 public:
  NmDArray<NmHandle<VlData>> references;  ///< element 0 is used
  VlData* model = nullptr;                ///< not counted; the caller keeps it alive
  NmMat4d relativeMatrix;     ///< what `params` describes, between the two boxes' minimum corners
  NmMat4d absoluteMatrix;     ///< the same transform between world coordinates
  int degreesOfFreedom = 12;  ///< 3 translation, 6 rigid, 9 with scales, 12 with shears
  RegAffineTransform* inverseTransform = nullptr;  ///< owned; null until asked for

  /// A holder of identity parameters, without volumes.
  RegAffineTransform();

  /// `matrix` maps model world to reference world.
  RegAffineTransform(NmDArray<NmHandle<VlData>>& referenceVolumes, VlData* modelVolume,
                     const NmMat4f& matrix, int freeParameters);

  /// The copy has no inverse.
  RegAffineTransform(const RegAffineTransform& other);
  RegAffineTransform& operator=(const RegAffineTransform& other);
  ~RegAffineTransform() override;

  /// A new transform, owned by the caller, whose matrices and parameters are those of the inverse.
  /// It keeps the volumes in their roles: read it, do not compose it.
  RegParametricTransform* makeInverse() override;
  void update() override;

  /// degreesOfFreedom, limited to the number of parameters that there are.
  int getVariableParamVectorDim() override;

  /// 1 for a translation, the angle that moves the box's rim by about three world units for a
  /// rotation, and what moves its far side by four for a scale or shear; 0 for a fixed parameter,
  /// and where `size` is needed and null.
  double getParamStep(int i, NmVec3d* size) override;

  /// Writes the parameters of `m` into `p`, then moves the center of this object's own parameters
  /// to the middle of the model's box. Always true.
  virtual bool decomposeMatrix(NmMat4d& m, NmDVector<double>& p);

  /// Number of free parameters. 7 also imposes the scale of the first row on all three, once.
  virtual void setDegreesOfFreedom(int n);

  /// Number of free parameters, and nothing else.
  virtual void setDegreesOfFreedomDirect(int n);

  /// Takes a matrix from model world to reference world.
  void init(const NmMat4f& matrix);

  /// Brings both matrices up to date with `params`.
  void composeMatrix();
  void apply();

  /// Parameters from relativeMatrix.
  void decomposeMatrix();

  /// Identity parameters; the matrices stay.
  void makeIdentityTransform();

  /// Moves the center, in world units relative to the model's minimum corner, without changing the
  /// map. relativeMatrix must be up to date. Null changes nothing.
  void changeCenter(const double* center);

  /// out = in * A, A being the upper 3 x 3 of relativeMatrix. Null changes nothing.
  void rotateScaleShear(double* out, const double* in) const;

  /// The inverse, brought up to date; owned by this object.
  RegAffineTransform* getInverse();
  void updateInverse();
};
