#include "workflow/elastic/elasticLattice.h"

#include <algorithm>

#include "workflow/RegisterDeformable.h"
#include "workflow/elastic/brickRegion.h"
#include "workflow/refusal.h"
#include "workflow/sampling/voxelSpans.h"
#include "workflow/search/derivativeRuns.h"
#include "workflow/search/latticeRuns.h"

namespace voxreg::detail {

namespace {

/// The voxels of a region; the image itself if these are all.
Image cropped(const Image& image, const BrickRegion& region) {
  const NmVec3l dims(region.dims.x, region.dims.y, region.dims.z);
  if (dims == image.dims()) return image;
  const NmVec3i& first = region.first;
  WorldGrid grid = image.grid();
  NmVec3d corner(first.x, first.y, first.z);
  image.voxelToWorld().multVecMatrix(corner, grid.origin);
  Image result = Image::allocate(image.type(), dims, grid.voxelToWorld());
  if (!result) throw Refusal("an image has no usable geometry", Reason::Kind::badImage);
  const NmHandle<VlDataAccess> access = result.volume()->lock(true);
  const bool done = withVoxels(image, [&]<class T>(std::span<const T> voxels) {
    T* to = static_cast<T*>(access->dataPtr(0));
    const NmVec3l& n = image.dims();
    for (std::int64_t z = first.z; z < first.z + dims.z; ++z)
      for (std::int64_t y = first.y; y < first.y + dims.y; ++y)
        to = std::copy_n(voxels.begin() + (first.x + n.x * (y + n.y * z)), dims.x, to);
  });
  if (!done) throw Refusal("an image cannot be read", Reason::Kind::failedRun);
  return result;
}

/// 0 where the mask holds a voxel of the image.
Image outsideOf(const ChestMask& mask, const Image& image) {
  Image result = Image::allocate(NmPrimType::UnsignedChar, image.dims(), image.voxelToWorld());
  const NmHandle<VlDataAccess> access = result.volume()->lock(true);
  auto* to = static_cast<unsigned char*>(access->dataPtr(0));
  const VolumeFrame frame(*image.volume());
  for (int z = 0; z < frame.dims.z; ++z)
    for (int y = 0; y < frame.dims.y; ++y)
      for (int x = 0; x < frame.dims.x; ++x) {
        const NmVec3f place(frame.position(0, x), frame.position(1, y), frame.position(2, z));
        *to++ = mask.holds(place) ? 0 : 1;
      }
  return result;
}

/// Of a stored value in the image's own unit.
IntensityRange inOwnUnit(const NmVec2f& stored, const ShortVolume& volume) {
  const auto value = [&](float raw) {
    return (raw * volume.rescale.x + volume.rescale.y) / volume.unit;
  };
  return {value(stored.x), value(stored.y)};
}

/// With the correlation ratio, voxels of the model count whatever their value: which samples there
/// are would otherwise depend on the map, and its derivative does not see that (warped heads
/// register to 0.11 mm instead of 0.15 mm).
MetricOptions metricFor(const ElasticPair& pair, const ElasticOptions& options) {
  MetricOptions metric;
  metric.metric = options.metric;
  metric.referenceRange = inOwnUnit(pair.referenceRange, pair.reference);
  if (metric.metric != Metric::correlationRatio)
    metric.modelRange = inOwnUnit(pair.modelRange, pair.model);
  return metric;
}

}  // namespace

double elasticSpacing(const Image& reference, const ElasticOptions& options) {
  constexpr double usual = 24.0;
  return options.spacing.value_or(std::min(usual, usual / 16.0 * defaultSpacing(reference)));
}

LatticeMap searchElasticLattice(const Image& reference, const Image& model, const ElasticPair& pair,
                                const ElasticOptions& options, SearchProgress& progress,
                                ElasticRegistration& found) {
  constexpr double usualStiffness = 6.0;  // of the deformable registration's
  constexpr double relativeGain = 1e-5;
  const Image covered =
      cropped(alongTheWorld(reference), BrickRegion(*pair.reference.data, pair.roi));
  const SearchedPair images = searchedPair(covered, model);
  Masks masks;
  if (pair.mask) masks.reference = outsideOf(*pair.mask, covered);
  const MetricOptions metric = metricFor(pair, options);
  const CountingPair counting(covered, model, images, masks, metric);
  const LatticeTask task = {comparisonOf(metric), elasticSpacing(reference, options),
                            usualStiffness * options.stiffness.value_or(1.0), 0.0, relativeGain};
  return searchLattice(images, counting, {}, task, progress, found);
}

}  // namespace voxreg::detail
