#include "resampled.h"

#include <sstream>
#include <vector>

#include "HostError.h"
#include "mappedRows.h"
#include "missingVoxels.h"
#include "voxelFormat.h"
#include "voxelTypes.h"

namespace host {

namespace {

/// The voxels of a volume, read at places in voxels.
template <class T>
class Voxels {
 public:
  Voxels(const T* voxels, const NmVec3l& dims, Interpolation interpolation)
      : voxels_(voxels), dims_(dims), interpolation_(interpolation) {}

  T at(const NmVec3d& place) const {
    const Taps x = tapsFor(interpolation_, place.x, dims_.x);
    const Taps y = tapsFor(interpolation_, place.y, dims_.y);
    const Taps z = tapsFor(interpolation_, place.z, dims_.z);
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
    return asVoxel<T>(sum);
  }

 private:
  const T* voxels_;
  NmVec3l dims_;
  Interpolation interpolation_;
};

/// Whether a file of this type gives the voxel back.
template <class T>
bool isKeptBy(int fileType, T voxel) {
  const VoxelFormat& format = *VoxelFormat::find(fileType);
  const MemoryLine line = {0, 1};
  char stored[sizeof(double)];
  T back;
  format.storePlain(&voxel, line, 1, stored);
  format.convertPlain(stored, 1, {}, &back, line);
  return back == voxel;
}

/// The background as a voxel, which must be that very value.
template <class T>
T backgroundVoxel(const NiftiVolume& model, const Sampling& sampling) {
  const double value = backgroundFor(model, sampling);
  const T voxel = asVoxel<T>(value);
  bool fits = std::is_floating_point_v<T> || static_cast<double>(voxel) == value;
  if (model.fileType != 0) fits = fits && isKeptBy(model.fileType, voxel);
  if (fits) return voxel;
  std::ostringstream text;
  text << value << " is no background for the model, whose voxels cannot hold it";
  throw HostError(text.str());
}

}  // namespace

double backgroundFor(const NiftiVolume& model, const Sampling& sampling) {
  if (sampling.background) return *sampling.background;
  if (sampling.interpolation == Interpolation::nearest) return 0.0;
  const std::optional<ValueRange> range = finiteRange(model);
  return range ? range->smallest : 0.0;
}

void requireBackground(const NiftiVolume& model, const Sampling& sampling) {
  withVoxelType(model.data->primType(),
                [&]<class T>() { (void)backgroundVoxel<T>(model, sampling); });
}

NiftiVolume resampled(const NiftiVolume& reference, const NiftiVolume& model,
                      const NmMat4d& modelToReference, const Sampling& sampling) {
  return resampled(reference, model, placeMap(modelToReference, reference, model), sampling);
}

NiftiVolume resampled(const NiftiVolume& reference, const NiftiVolume& model, const PlaceMap& map,
                      const Sampling& sampling) {
  NiftiVolume result = volumeLike(reference, model.data->primType());
  result.fileType = model.fileType;
  const NmHandle<VlDataAccess> access = result.data->lock(true);
  if (access == nullptr) throw HostError("a volume cannot be locked", HostError::failedRun);
  withVoxels(*model.data, [&]<class T>(std::span<const T> voxels) {
    const T background = backgroundVoxel<T>(model, sampling);
    const Voxels<T> sampled(voxels.data(), model.frame.dims, sampling.interpolation);
    T* next = static_cast<T*>(access->dataPtr(0));
    forEachMappedRow(
        reference, model, map,
        [&](long, long, const std::vector<NmVec3d>& places, const std::vector<char>& hasValue) {
          for (std::size_t x = 0; x < places.size(); ++x)
            *next++ = hasValue[x] != 0 ? sampled.at(places[x]) : background;
        });
  });
  return result;
}

}  // namespace host
