#include "variational/fields/fieldComposition.h"

#include <algorithm>
#include <cmath>

namespace voxreg::detail {

namespace {

/// How many slices before its own a slice reads at most.
int reachBack(const VoxelField& update, const FieldKernels& kernels) {
  const auto& along = update.along[2];
  const float lowest = kernels.lowest(along.data(), static_cast<std::int64_t>(along.size()));
  const auto last = static_cast<float>(update.dims.z - 1);
  return static_cast<int>(std::clamp(std::ceil(-lowest), 0.0f, last));
}

/// Slices that wait until no other needs what they replace.
class DelayedSlices {
 public:
  DelayedSlices(VoxelField& field, int delay)
      : field_(field),
        slots_(delay + 1),
        slice_(static_cast<std::size_t>(field.dims.x) * static_cast<std::size_t>(field.dims.y)) {
    for (auto& ring : rings_) ring.resize(slice_ * static_cast<std::size_t>(slots_));
  }

  float* at(int c, int z) {
    return rings_[c].data() + slice_ * static_cast<std::size_t>(z % slots_);
  }

  void put(int z) {
    for (int c = 0; c < 3; ++c)
      std::copy_n(at(c, z), slice_, field_.along[c].data() + slice_ * static_cast<std::size_t>(z));
  }

 private:
  VoxelField& field_;
  int slots_;
  std::size_t slice_;
  std::vector<float> rings_[3];
};

}  // namespace

void compose(const VoxelField& update, VoxelField& field, const FieldKernels& kernels) {
  if (field.along[0].empty()) return;
  const int delay = reachBack(update, kernels);
  DelayedSlices slices(field, delay);
  const float* const by[3] = {update.along[0].data(), update.along[1].data(),
                              update.along[2].data()};
  const float* const from[3] = {field.along[0].data(), field.along[1].data(),
                                field.along[2].data()};
  const int nz = field.dims.z;
  for (int z = 0; z < nz; ++z) {
    kernels.composeSlice(by, from, field.dims, z,
                         {slices.at(0, z), slices.at(1, z), slices.at(2, z)});
    if (z >= delay) slices.put(z - delay);
  }
  for (int z = std::max(nz - delay, 0); z < nz; ++z) slices.put(z);
}

}  // namespace voxreg::detail
