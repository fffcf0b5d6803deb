#include "warped.h"

#include "HostError.h"

namespace host {

namespace {

NmDArray<NmVec3f> nodesOf(const GridTransform::Grid& transform) {
  NmDArray<NmVec3f> nodes;
  nodes.resize(transform.vertices.size / 3);
  for (long i = 0; i < nodes.size; ++i)
    for (int a = 0; a < 3; ++a)
      nodes[i][a] = static_cast<float>(transform.vertices[3 * i + static_cast<long>(a)]);
  return nodes;
}

}  // namespace

NiftiVolume warped(const NiftiVolume& reference, const NiftiVolume& model,
                   const GridTransform::Grid& transform) {
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
