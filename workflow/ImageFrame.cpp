#include "workflow/ImageFrame.h"

#include <algorithm>
#include <cmath>

#include "foundation/numbers/vectors.h"

namespace voxreg {

std::optional<ImageFrame> ImageFrame::of(const WorldGrid& grid) {
  ImageFrame frame;
  frame.dims = grid.dims;
  double spacing[3];
  for (int a = 0; a < 3; ++a) {
    spacing[a] = detail::length(grid.axis[a]);
    for (int w = 0; w < 3; ++w) frame.toWorld.m[a][w] = grid.axis[a][w] / spacing[a];
  }
  NmMat4d toFrame;
  if (!toFrame.affine_inverse(frame.toWorld, toFrame)) return std::nullopt;
  NmVec3d corner;
  toFrame.multDirMatrix(grid.origin, corner);
  float edges[6];
  for (int a = 0; a < 3; ++a) {
    edges[2 * a] = static_cast<float>(corner[a]);
    edges[2 * a + 1] =
        static_cast<float>(corner[a] + static_cast<double>(frame.dims[a] - 1) * spacing[a]);
  }
  if (!std::all_of(edges, edges + 6, [](float edge) { return std::isfinite(edge); }))
    return std::nullopt;
  frame.box = NmBox3f(edges[0], edges[1], edges[2], edges[3], edges[4], edges[5]);
  return frame;
}

}  // namespace voxreg
