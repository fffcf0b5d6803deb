#include "workflow/elastic/elasticLattice.h"

#include <algorithm>
#include <cstdint>
#include <vector>

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

/// Of a stored value in the image's own unit.
IntensityRange inOwnUnit(const NmVec2f& stored, const ShortVolume& volume) {
  const auto value = [&](float raw) {
    return (raw * volume.rescale.x + volume.rescale.y) / volume.unit;
  };
  return {value(stored.x), value(stored.y)};
}

using Flags = std::vector<unsigned char>;

/// Sets the neighbours along an axis of the flags that are set.
void widen(Flags& flags, const NmVec3l& dims, int axis) {
  std::int64_t step = 1;
  for (int a = 0; a < axis; ++a) step *= dims[a];
  const Flags before = flags;
  const auto size = static_cast<std::int64_t>(flags.size());
  for (std::int64_t block = 0; block < size; block += step * dims[axis])
    for (std::int64_t i = block; i < block + step * (dims[axis] - 1); ++i) {
      flags[static_cast<std::size_t>(i)] |= before[static_cast<std::size_t>(i + step)];
      flags[static_cast<std::size_t>(i + step)] |= before[static_cast<std::size_t>(i)];
    }
}

/// The voxels within a range of values and those next to them. Tissue without the rim of air around
/// it would correspond to itself anywhere within the model's tissue (heads of 24 voxels moved by
/// one: correlation ratio 0.87 instead of 0.98).
Flags withinAndAround(const Image& image, const IntensityRange& range) {
  Flags flags;
  const bool done = withVoxels(image, [&](const auto& voxels) {
    flags.reserve(voxels.size());
    for (const auto voxel : voxels) {
      const auto value = static_cast<double>(voxel);
      const bool isWithin =
          value >= static_cast<double>(range.low) && value <= static_cast<double>(range.high);
      flags.push_back(isWithin ? 1 : 0);
    }
  });
  if (!done) throw Refusal("an image cannot be read", Reason::Kind::failedRun);
  for (int axis = 0; axis < 3; ++axis) widen(flags, image.dims(), axis);
  return flags;
}

void clearInside(const ChestMask& mask, const Image& image, Flags& flags) {
  const VolumeFrame frame(*image.volume());
  auto flag = flags.begin();
  for (int z = 0; z < frame.dims.z; ++z)
    for (int y = 0; y < frame.dims.y; ++y)
      for (int x = 0; x < frame.dims.x; ++x, ++flag) {
        const NmVec3f place(frame.position(0, x), frame.position(1, y), frame.position(2, z));
        if (mask.holds(place)) *flag = 0;
      }
}

/// The voxels of the covered reference that count. Mutual information takes all values.
Image countingVoxels(const Image& covered, const ElasticPair& pair, Metric metric) {
  const bool usesRange = metric == Metric::correlationRatio;
  const auto count =
      static_cast<std::size_t>(covered.dims().x * covered.dims().y * covered.dims().z);
  Flags flags = usesRange ? withinAndAround(covered, inOwnUnit(pair.referenceRange, pair.reference))
                          : Flags(count, 1);
  if (pair.mask) clearInside(*pair.mask, covered, flags);
  return Image::copy(flags.data(), covered.dims(), covered.voxelToWorld());
}

/// Ranges of a histogram. With the correlation ratio, voxels of the model count whatever their
/// value: which samples there are would otherwise depend on the map, and its derivative does not
/// see that.
MetricOptions metricFor(const ElasticPair& pair, Metric kind) {
  MetricOptions metric;
  metric.metric = kind;
  if (kind == Metric::correlationRatio) return metric;
  metric.referenceRange = inOwnUnit(pair.referenceRange, pair.reference);
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
  const Masks masks = {countingVoxels(images.reference, pair, options.metric), {}};
  const MetricOptions metric = metricFor(pair, options.metric);
  const CountingPair counting(covered, model, images, masks, metric);
  const LatticeTask task = {comparisonOf(metric), elasticSpacing(reference, options),
                            usualStiffness * options.stiffness.value_or(1.0), 0.0, relativeGain};
  return searchLattice(images, counting, {}, task, progress, found);
}

}  // namespace voxreg::detail
