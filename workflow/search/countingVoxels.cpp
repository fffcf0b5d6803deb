#include "workflow/search/countingVoxels.h"

#include <cmath>
#include <string>

#include "functional/kernels/walk.h"
#include "workflow/MissingVoxels.h"
#include "workflow/refusal.h"
#include "workflow/sampling/voxelSpans.h"

namespace voxreg::detail {

namespace {

using Mask = std::vector<unsigned char>;

/// Clears the voxels of a mask, all set if it is empty, whose value is not kept.
template <class Keeps>
void keepOnly(const Image& image, Mask& mask, const Keeps& keeps) {
  const bool done = withVoxels(image, [&](const auto& voxels) {
    mask.resize(voxels.size(), 1);
    for (std::size_t i = 0; i < voxels.size(); ++i)
      if (!keeps(static_cast<double>(voxels[i]))) mask[i] = 0;
  });
  if (!done) throw Refusal("an image cannot be read", Reason::Kind::failedRun);
}

bool isPresent(double value) {
  return std::isfinite(static_cast<float>(value));
}

/// Up to a hundredth of a voxel, the rounding of headers.
bool shareGrid(const Image& a, const Image& b) {
  constexpr double tolerance = 0.01;
  if (!(a.dims() == b.dims())) return false;
  const WorldGrid first = a.grid();
  const WorldGrid second = b.grid();
  const auto differ = [&](const NmVec3d& p, const NmVec3d& q, double voxels) {
    const double size = std::hypot(first.axis[0].x, first.axis[0].y, first.axis[0].z);
    return std::hypot(p.x - q.x, p.y - q.y, p.z - q.z) * voxels > tolerance * size;
  };
  for (int axis = 0; axis < 3; ++axis)
    if (differ(first.axis[axis], second.axis[axis], static_cast<double>(a.dims()[axis])))
      return false;
  return !differ(first.origin, second.origin, 1.0);
}

Mask maskOf(const Image& image, const Image& searched, const Image& mask, const std::string& name,
            const std::optional<IntensityRange>& range) {
  Mask counts;
  if (countMissing(image) > 0) keepOnly(alongTheWorld(image), counts, isPresent);
  if (range)
    keepOnly(searched, counts, [&](double value) {
      return value >= static_cast<double>(range->low) && value <= static_cast<double>(range->high);
    });
  if (!mask) return counts;
  if (!shareGrid(image, mask))
    throw Refusal("the mask of the " + name + " is not on its voxel grid", Reason::Kind::badImage);
  keepOnly(alongTheWorld(mask), counts,
           [](double value) { return isPresent(value) && value != 0.0; });
  if (counts == Mask(counts.size(), 0))
    throw Refusal("the mask leaves no voxel of the " + name, Reason::Kind::noInformation);
  return counts;
}

int typeIndexOf(const Image& image) {
  int index = -1;
  (void)withVoxelType(image.type(), [&]<class T>() { index = voxelTypeIndex<T>; });
  return index;
}

}  // namespace

CountingPair::CountingPair(const Image& reference, const Image& model, const SearchedPair& searched,
                           const Masks& masks, const MetricOptions& metric)
    : searched_(searched) {
  const bool skipsBeyond = metric.metric == Metric::correlationRatio;
  const std::optional<IntensityRange> all;
  referenceMask_ = maskOf(reference, searched.reference, masks.reference, "reference",
                          skipsBeyond ? metric.referenceRange : all);
  modelMask_ =
      maskOf(model, searched.model, masks.model, "model", skipsBeyond ? metric.modelRange : all);
}

CountingPair CountingPair::exchanged() const {
  CountingPair result;
  result.searched_ = {searched_.model, searched_.reference};
  result.referenceMask_ = modelMask_;
  result.modelMask_ = referenceMask_;
  return result;
}

SearchVolume CountingPair::volumeOf(const Image& image, const Mask& mask) {
  return {image.voxels(), typeIndexOf(image), VolumeFrame(*image.volume()),
          mask.empty() ? nullptr : mask.data()};
}

}  // namespace voxreg::detail
