#include "workflow/Resample.h"

#include <vector>

#include "workflow/MissingVoxels.h"
#include "workflow/PointMap.h"
#include "workflow/sampling/mappedRows.h"
#include "workflow/sampling/taps.h"
#include "workflow/sampling/voxelSpans.h"

namespace voxreg {

namespace {

/// The voxels of a volume, read at positions in voxels.
template <class T>
class Voxels {
 public:
  Voxels(const T* voxels, const NmVec3l& dims, Interpolation interpolation)
      : voxels_(voxels), dims_(dims), interpolation_(interpolation) {}

  T at(const NmVec3d& place) const {
    const detail::Taps x = detail::tapsFor(interpolation_, place.x, dims_.x);
    const detail::Taps y = detail::tapsFor(interpolation_, place.y, dims_.y);
    const detail::Taps z = detail::tapsFor(interpolation_, place.z, dims_.z);
    const T* const corner = voxels_ + x.first + dims_.x * (y.first + dims_.y * z.first);
    if (x.count == 1 && y.count == 1 && z.count == 1) return *corner;
    double sum = 0.0;
    for (int k = 0; k < z.count; ++k)
      for (int j = 0; j < y.count; ++j) {
        const T* const line = corner + dims_.x * (j + dims_.y * k);
        double lineSum = 0.0;
        for (int i = 0; i < x.count; ++i) lineSum += x.share[i] * static_cast<double>(line[i]);
        sum += z.share[k] * y.share[j] * lineSum;
      }
    return detail::toVoxel<T>(sum);
  }

 private:
  const T* voxels_;
  NmVec3l dims_;
  Interpolation interpolation_;
};

}  // namespace

double backgroundFor(const Image& model, const ResampleOptions& options) {
  if (options.background) return *options.background;
  if (options.interpolation == Interpolation::nearest) return 0.0;
  const std::optional<ValueRange> range = finiteRange(model);
  return range ? range->smallest : 0.0;
}

bool canHold(const Image& model, double value) {
  bool fits = false;
  (void)detail::withVoxelType(model.type(), [&]<class T>() {
    fits = std::is_floating_point_v<T> || static_cast<double>(detail::toVoxel<T>(value)) == value;
  });
  return fits;
}

Image resample(const Image& model, const Transform& transform, const Image& reference,
               const ResampleOptions& options) {
  if (!model || !reference) return {};
  const double background = backgroundFor(model, options);
  if (!canHold(model, background)) return {};
  Image result = Image::allocate(model.type(), reference.dims(), reference.voxelToWorld());
  const PointMap map(transform, reference, model);
  const NmHandle<VlDataAccess> access = result.volume()->lock(true);
  const bool done = detail::withVoxels(model, [&]<class T>(std::span<const T> voxels) {
    const T beyond = detail::toVoxel<T>(background);
    const Voxels<T> sampled(voxels.data(), model.dims(), options.interpolation);
    T* next = static_cast<T*>(access->dataPtr(0));
    detail::forEachMappedRow(reference, model, map,
                             [&](std::int64_t, std::int64_t, const std::vector<NmVec3d>& places,
                                 const std::vector<char>& hasValue) {
                               for (std::size_t x = 0; x < places.size(); ++x)
                                 *next++ = hasValue[x] != 0 ? sampled.at(places[x]) : beyond;
                             });
  });
  return done ? result : Image();
}

}  // namespace voxreg
