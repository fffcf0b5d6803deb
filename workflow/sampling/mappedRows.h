#pragma once

#include <cstdint>
#include <vector>

#include "workflow/Image.h"
#include "workflow/PointMap.h"
#include "workflow/sampling/sampledGrid.h"

namespace voxreg::detail {

/// Calls `visit(y, z, places, hasValue)` for each line of the reference in memory order, with the
/// positions of its voxels in the model's voxels and whether the model has a value there.
template <class Visit>
void forEachMappedRow(const Image& reference, const Image& model, const PointMap& map,
                      Visit visit) {
  const NmVec3l& dims = reference.dims();
  const NmBox3f& box = reference.frame().box;
  double voxel[3];
  for (int a = 0; a < 3; ++a)
    voxel[a] = dims[a] > 1 ? (static_cast<double>(box.max(a)) - static_cast<double>(box.min(a))) /
                                 static_cast<double>(dims[a] - 1)
                           : 0.0;
  const SampledGrid grid(model.dims(), model.frame().box, dims);
  const auto nx = static_cast<std::size_t>(dims.x);
  std::vector<NmVec3d> places(nx);
  std::vector<NmVec3d> found(nx);
  std::vector<char> hasValue(nx);
  for (std::int64_t z = 0; z < dims.z; ++z)
    for (std::int64_t y = 0; y < dims.y; ++y) {
      for (std::size_t x = 0; x < nx; ++x)
        places[x] = NmVec3d(box.xmin + static_cast<double>(x) * voxel[0],
                            box.ymin + static_cast<double>(y) * voxel[1],
                            box.zmin + static_cast<double>(z) * voxel[2]);
      map(places.data(), dims.x, found.data());
      for (std::size_t x = 0; x < nx; ++x) hasValue[x] = grid.locate(found[x]) ? 1 : 0;
      visit(y, z, found, hasValue);
    }
}

}  // namespace voxreg::detail
