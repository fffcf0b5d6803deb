#include "foundation/voxels/voxelRange.h"

#include <cstdint>
#include <limits>
#include <type_traits>

#include "foundation/NmDArray.h"
#include "foundation/voxels/voxelTypes.h"

namespace voxreg::detail {
namespace {

template <class T>
struct Extremes {
  static constexpr bool hasInfinity = std::numeric_limits<T>::has_infinity;
  T min = hasInfinity ? std::numeric_limits<T>::infinity() : std::numeric_limits<T>::max();
  T max = hasInfinity ? -std::numeric_limits<T>::infinity() : std::numeric_limits<T>::lowest();

  // A comparison with NaN is false, so NaN is skipped.
  void add(T value) {
    min = value < min ? value : min;
    max = value > max ? value : max;
  }
  void add(const Extremes& other) {
    add(other.min);
    add(other.max);
  }
  bool isFound() const { return min <= max; }
};

template <class T>
Extremes<T> extremesOf(const T* values, std::int64_t n) {
  // Compilers vectorise the search over integers. The one over floating point has a fixed order;
  // independent chains hide its latency.
  constexpr int numChains = std::is_integral_v<T> ? 1 : 4;
  Extremes<T> chains[numChains];
  std::int64_t i = 0;
  for (; i + numChains <= n; i += numChains)
    for (int k = 0; k < numChains; ++k) chains[k].add(values[i + k]);
  for (; i < n; ++i) chains[0].add(values[i]);
  for (int k = 1; k < numChains; ++k)
    if (chains[k].isFound()) chains[0].add(chains[k]);
  return chains[0];
}

template <class T>
bool blockRange(const T* values, std::int64_t n, float& min, float& max) {
  const Extremes<T> extremes = extremesOf(values, n);
  if (!extremes.isFound()) return false;
  min = static_cast<float>(extremes.min);
  max = static_cast<float>(extremes.max);
  return true;
}

bool rowRange(const VlDataAccess& access, const VoxelGrid& grid, float& min, float& max) {
  NmDArray<float> line;
  line.resize(grid.dims.x * grid.numDataVars);
  Extremes<float> all;
  for (std::int64_t z = 0; z < grid.dims.z; ++z)
    for (std::int64_t y = 0; y < grid.dims.y; ++y) {
      if (!access.row(-1, y, z, line.data).isOk()) return false;
      const Extremes<float> found = extremesOf(line.data, line.size);
      if (found.isFound()) all.add(found);
    }
  if (!all.isFound()) return false;
  min = all.min;
  max = all.max;
  return true;
}

}  // namespace

bool findVoxelRange(const VlDataAccess& access, const VoxelGrid& grid, float& min, float& max) {
  const std::int64_t n = grid.numValues();
  if (n < 1) return false;
  bool found = false;
  const void* const block = access.isContiguous() ? access.dataPtr(0) : nullptr;
  const auto search = [&]<class T>() {
    found = blockRange(static_cast<const T*>(block), n, min, max);
  };
  if (block == nullptr || !withVoxelType(grid.type, search))
    return rowRange(access, grid, min, max);
  return found;
}

}  // namespace voxreg::detail
