#include "BrickMap.h"

#include <algorithm>

#include "HostError.h"

namespace host {

namespace {

NmDArray<NmVec3f> nodesOf(const BrickTransform& transform) {
  NmDArray<NmVec3f> nodes;
  nodes.resize(transform.vertices.size / 3);
  for (long i = 0; i < nodes.size; ++i)
    for (int a = 0; a < 3; ++a)
      nodes[i][a] = static_cast<float>(transform.vertices[3 * i + static_cast<long>(a)]);
  return nodes;
}

}  // namespace

NmVec3d BrickMap::at(const NmVec3d& place) const {
  if (transform_.vertices.size == 0) return place;
  const NmVec3i& bricks = transform_.numBricks;
  int low[3];
  double share[3];
  NmVec3d beside;
  for (int a = 0; a < 3; ++a) {
    const double first = transform_.box.min(a);
    const double last = transform_.box.max(a);
    const double inside = std::clamp(place[a], first, last);
    beside[a] = place[a] - inside;
    const double grid = bricks[a] * (inside - first) / (last - first);
    low[a] = std::min(static_cast<int>(grid), bricks[a] - 1);
    share[a] = grid - low[a];
  }
  NmVec3d sum = beside;
  for (int corner = 0; corner < 8; ++corner) {
    const int d[3] = {corner & 1, corner >> 1 & 1, corner >> 2};
    double weight = 1.0;
    for (int a = 0; a < 3; ++a) weight *= d[a] != 0 ? share[a] : 1.0 - share[a];
    const long vertex =
        low[0] + d[0] + (bricks.x + 1L) * (low[1] + d[1] + (bricks.y + 1L) * (low[2] + d[2]));
    for (int a = 0; a < 3; ++a) sum[a] += weight * transform_.vertices[3 * vertex + a];
  }
  return sum;
}

BrickTransform identityOver(const NmBox3f& box) {
  BrickTransform transform;
  transform.box = box;
  RegNonAffineTransform(transform, NmVec3i(1, 1, 1)).getTransform(transform);
  return transform;
}

NiftiVolume warped(const NiftiVolume& reference, const NiftiVolume& model,
                   const BrickTransform& transform) {
  const NmPrimType type = model.data->primType();
  NiftiVolume result = reference;
  // The resampler wants one type; of the reference it reads the grid only.
  if (result.data->primType() != type) result = volumeLike(reference, type);
  NmDArray<NmVec3f> nodes = nodesOf(transform);
  NmVec3i dims(transform.numBricks.x + 1, transform.numBricks.y + 1, transform.numBricks.z + 1);
  result.data = RegBrickedResampler().doResampling(
      result.data, model.data, transform.box, nodes, dims, RegResampler::Lanczos3, 1,
      /*zeroBackground=*/false, /*clampToGrid=*/true, /*clampToModel=*/false, nullptr);
  if (result.data == nullptr)
    throw HostError("the model cannot be resampled", HostError::failedRun);
  return result;
}

}  // namespace host
