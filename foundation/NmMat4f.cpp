#include "foundation/NmMat4f.h"

#include "foundation/NmMat4d.h"

void NmMat4f::makeIdentity() {
  *this = NmMat4f();
}

NmMat4f NmMat4f::inverse() const {
  NmMat4d wide;
  wide.setValue(*this);
  NmMat4f result;
  wide.inverse().getValue(result);
  return result;
}

void NmMat4f::multVecMatrix(const NmVec3f& src, NmVec3f& dst) const {
  NmMat4d wide;
  wide.setValue(*this);
  wide.multVecMatrix(src, dst);
}

NmVec3f NmMat4f::multDirMatrix(const NmVec3f& direction) const {
  NmMat4d wide;
  wide.setValue(*this);
  NmVec3f result;
  wide.multDirMatrix(direction, result);
  return result;
}
