#include "workflow/search/searchedPair.h"

#include "workflow/MissingVoxels.h"
#include "workflow/VoxelOrder.h"
#include "workflow/refusal.h"
#include "workflow/sampling/voxelSpans.h"

namespace voxreg::detail {

Image alongTheWorld(const Image& image) {
  const WorldGrid grid = image.grid();
  const VoxelOrder order = VoxelOrder::nearestToWorld(grid);
  if (!order.changesAnything()) return image;
  const WorldGrid turned = order.applied(grid);
  Image result = Image::allocate(image.type(), turned.dims, turned.voxelToWorld());
  if (!result) throw Refusal("an image has no usable geometry", Reason::Kind::badImage);
  const NmHandle<VlDataAccess> access = result.volume()->lock(true);
  const bool done = withVoxels(image, [&]<class T>(std::span<const T> voxels) {
    T* const target = static_cast<T*>(access->dataPtr(0));
    auto voxel = voxels.begin();
    for (std::int64_t k = 0; k < grid.dims.z; ++k)
      for (std::int64_t j = 0; j < grid.dims.y; ++j) {
        const MemoryLine line = memoryLine(grid, order, j, k);
        for (std::int64_t i = 0; i < grid.dims.x; ++i)
          target[line.start + i * line.stride] = *voxel++;
      }
  });
  if (!done) throw Refusal("an image cannot be read", Reason::Kind::failedRun);
  return result;
}

namespace {

Image searched(const Image& image, const char* name) {
  if (!image) throw Refusal(std::string("the ") + name + " is empty", Reason::Kind::badImage);
  return withMissingFilled(alongTheWorld(image));
}

}  // namespace

SearchedPair searchedPair(const Image& reference, const Image& model) {
  return {searched(reference, "reference"), searched(model, "model")};
}

}  // namespace voxreg::detail
