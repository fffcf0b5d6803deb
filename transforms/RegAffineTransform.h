#pragma once

#include "foundation/NmHandle.h"
#include "foundation/NmMat4d.h"
#include "foundation/VlData.h"
#include "transforms/RegParametricTransform.h"

/// Rigid or affine transform from model world to reference world, given by 15 parameters
/// (RegTools). The matrices change only through init, composeMatrix, apply and
/// setDegreesOfFreedom(7); after writing `params`, update them with apply().
class RegAffineTransform : public RegParametricTransform {
 public:
  NmDArray<NmHandle<VlData>> references;  ///< element 0 is used
  VlData* model = nullptr;                ///< not reference-counted; the caller keeps it alive
  NmMat4d relativeMatrix;     ///< described by `params`, between the two boxes' minimum corners
  NmMat4d absoluteMatrix;     ///< the same transform between world coordinates
  int degreesOfFreedom = 12;  ///< 3 translation, 6 rigid, 9 with scales, 12 with shears
  RegAffineTransform* inverseTransform = nullptr;  ///< owned; null until requested

  /// Has identity parameters and no volumes.
  RegAffineTransform();

  /// `matrix` maps model world to reference world.
  RegAffineTransform(NmDArray<NmHandle<VlData>>& referenceVolumes, VlData* modelVolume,
                     const NmMat4f& matrix, int freeParameters);

  /// The copy has no inverse.
  RegAffineTransform(const RegAffineTransform& other);
  RegAffineTransform& operator=(const RegAffineTransform& other);
  ~RegAffineTransform() override;

  /// A new transform, owned by the caller, whose matrices and parameters are those of the inverse.
  /// It keeps the volumes in their roles: only read it, do not compose it.
  RegParametricTransform* makeInverse() override;
  void update() override;

  /// degreesOfFreedom, limited to the number of existing parameters.
  int getVariableParamVectorDim() override;

  /// 1 for a translation, the angle that moves the box's rim by about three world units for a
  /// rotation, and the change that moves its far side by four for a scale or shear; 0 for a fixed
  /// parameter, and if `size` is needed but null.
  double getParamStep(int i, NmVec3d* size) override;

  /// Writes the parameters of `m` into `p`, then moves the center of this object's own parameters
  /// to the centre of the model's box. Always returns true.
  virtual bool decomposeMatrix(NmMat4d& m, NmDVector<double>& p);

  /// Sets the number of free parameters. 7 also sets all three scales to that of the first row,
  /// once.
  virtual void setDegreesOfFreedom(int n);

  /// Only sets the number of free parameters.
  virtual void setDegreesOfFreedomDirect(int n);

  /// Sets a matrix from model world to reference world.
  void init(const NmMat4f& matrix);

  /// Updates both matrices from `params`.
  void composeMatrix();
  void apply();

  /// Updates the parameters from relativeMatrix.
  void decomposeMatrix();

  /// Sets identity parameters; the matrices are unchanged.
  void makeIdentityTransform();

  /// Moves the center, in world units relative to the model's minimum corner, without changing the
  /// map. relativeMatrix must be up to date. Null changes nothing.
  void changeCenter(const double* center);

  /// out = in * A, where A is the upper 3 x 3 of relativeMatrix. Null changes nothing.
  void rotateScaleShear(double* out, const double* in) const;

  /// The updated inverse; owned by this object.
  RegAffineTransform* getInverse();
  void updateInverse();
};
