#include "workflow/Intensity.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace voxreg {

namespace {

constexpr std::uint32_t signBit = 0x80000000u;

/// An integer with the same order as the floats, and back.
std::uint32_t keyOf(float value) {
  const auto bits = std::bit_cast<std::uint32_t>(value);
  return (bits & signBit) != 0 ? ~bits : bits | signBit;
}
float valueOf(std::uint32_t key) {
  return std::bit_cast<float>((key & signBit) != 0 ? key & ~signBit : ~key);
}

/// Number of occurrences of each 16-bit value of the voxels' keys.
class Counts {
 public:
  void add(std::uint32_t bits) { ++counts_[bits]; }

  /// Finds the value at a rank and subtracts the number of smaller ones from the rank.
  std::uint32_t take(std::int64_t& rank) const {
    std::uint32_t place = 0;
    while (place + 1 < counts_.size() && rank >= counts_[place]) rank -= counts_[place++];
    return place;
  }

 private:
  std::vector<std::int64_t> counts_ = std::vector<std::int64_t>(0x10000);
};

template <class Visit>
void forEachKey(VlData& volume, const Visit& visit) {
  const std::int64_t nx = volume.dims().x;
  (void)forEachRow(volume, [&](std::int64_t, std::int64_t, const float* row) {
    for (std::int64_t x = 0; x < nx; ++x)
      if (!std::isnan(row[x])) visit(keyOf(row[x]));
  });
}

}  // namespace

bool forEachRow(
    VlData& volume,
    const std::function<void(std::int64_t y, std::int64_t z, const float* row)>& visit) {
  const NmVec3l dims = volume.dims();
  const NmHandle<VlDataAccess> access = volume.lock(false);
  if (access == nullptr) return false;
  std::vector<float> row(static_cast<std::size_t>(dims.x * volume.numDataVars()));
  for (std::int64_t z = 0; z < dims.z; ++z)
    for (std::int64_t y = 0; y < dims.y; ++y) {
      if (!access->row(-1, y, z, row.data()).isOk()) return false;
      visit(y, z, row.data());
    }
  return true;
}

// Finds the upper 16 bits of each answer first, then the lower ones among the voxels that share the
// upper ones.
std::vector<float> percentiles(VlData& volume, const std::vector<double>& shares) {
  Counts upper;
  std::int64_t total = 0;
  forEachKey(volume, [&](std::uint32_t key) {
    upper.add(key >> 16);
    ++total;
  });
  if (total == 0) return std::vector<float>(shares.size());
  struct Sought {
    std::int64_t rank;
    std::uint32_t top = 0;
    Counts lower;
  };
  std::vector<Sought> answers;
  for (const double share : shares) {
    Sought sought = {static_cast<std::int64_t>(share * static_cast<double>(total - 1)), 0, {}};
    sought.top = upper.take(sought.rank);
    answers.push_back(std::move(sought));
  }
  forEachKey(volume, [&](std::uint32_t key) {
    for (Sought& sought : answers)
      if (key >> 16 == sought.top) sought.lower.add(key & 0xffffu);
  });
  std::vector<float> values;
  values.reserve(answers.size());
  for (Sought& sought : answers)
    values.push_back(valueOf(sought.top << 16 | sought.lower.take(sought.rank)));
  return values;
}

float percentile(VlData& volume, double share) {
  return percentiles(volume, {share}).front();
}

}  // namespace voxreg
