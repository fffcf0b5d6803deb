#include "workflow/WorldGrid.h"

#include "foundation/numbers/vectors.h"

namespace voxreg {

WorldGrid::WorldGrid(const NmVec3l& voxels, const NmMat4d& voxelToWorld) : dims(voxels) {
  for (int w = 0; w < 3; ++w) {
    for (int a = 0; a < 3; ++a) axis[a][w] = voxelToWorld.m[a][w];
    origin[w] = voxelToWorld.m[3][w];
  }
  for (int a = 0; a < 3; ++a)
    if (dims[a] == 1 && !(detail::length(axis[a]) > 0))
      axis[a] = detail::normalized(detail::cross(axis[(a + 1) % 3], axis[(a + 2) % 3]));
}

NmMat4d WorldGrid::voxelToWorld() const {
  NmMat4d matrix;
  for (int w = 0; w < 3; ++w) {
    for (int a = 0; a < 3; ++a) matrix.m[a][w] = axis[a][w];
    matrix.m[3][w] = origin[w];
  }
  return matrix;
}

}  // namespace voxreg
