#pragma once

#include "foundation/NmDVector.h"
#include "foundation/NmMemory.h"
#include "foundation/NmVec.h"

/// What an optimizer changes: a vector of parameters, of which the leading ones are free, and a
/// natural step for each. Everything that a transform derives from `params` is stale until its
/// apply().
class RegParametricTransform : public NmAllocated {
 public:
  NmDVector<double> params;

  RegParametricTransform() = default;
  RegParametricTransform(const RegParametricTransform&) = default;
  RegParametricTransform& operator=(const RegParametricTransform&) = default;
  virtual ~RegParametricTransform();

  /// A new transform that is the inverse of this one, owned by the caller; null if there is none.
  virtual RegParametricTransform* makeInverse();

  virtual void update() = 0;

  /// Number of free parameters: 0 .. n - 1 of `params` vary.
  virtual int getVariableParamVectorDim() = 0;

  /// Change of parameter `i` that counts as one unit of step length; `size` is the extent of the
  /// model's bounding box in world units.
  virtual double getParamStep(int i, NmVec3d* size) = 0;
};
