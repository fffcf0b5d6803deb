#pragma once

#include <atomic>
#include <cstdint>

#include "foundation/NmHandableThreaded.h"
#include "foundation/NmResult.h"

class VlData;

/// Locked access to the voxels of one volume, returned by VlData::lock. The lock lasts as long as
/// the object, whichever thread releases it last, counts for the thread that took it, and keeps a
/// volume owned by handles alive. Voxels locked for reading must not be written.
class VlDataAccess : public NmHandableThreaded {
 public:
  VlDataAccess() = default;
  VlDataAccess(const VlDataAccess&) = delete;
  VlDataAccess& operator=(const VlDataAccess&) = delete;
  ~VlDataAccess() override;

  /// The voxels, x fastest, data variables interleaved. Index 0 is the first voxel of the first (or
  /// only) block; null for a block that the volume does not have.
  virtual void* dataPtr(std::int64_t index) const = 0;

  /// True if all voxels are in one block in grid order.
  virtual bool isContiguous() const = 0;

  /// True if the voxels can be addressed linearly through dataPtr(0).
  virtual bool isLinear() const = 0;

  /// Fills `buffer` with one line of voxels as floats, data variables interleaved. Exactly one
  /// coordinate is -1 and names the axis along which the line runs. Fails with an error line, and
  /// `buffer` unchanged, for any other combination, a coordinate out of range or a null buffer.
  virtual NmResult row(std::int64_t x, std::int64_t y, std::int64_t z, float* buffer) const = 0;

  /// Writes such a line back. Integer voxels take the nearest value, ties to even, saturate at
  /// their limits and turn NaN into 0. Fails like row, and on an access for reading.
  virtual NmResult putRow(std::int64_t x, std::int64_t y, std::int64_t z,
                          const float* buffer) const = 0;

 private:
  friend class VlData;
  struct Hold;

  /// Takes ownership of `hold` until the end of this object.
  void keep(Hold* hold) noexcept;

  std::atomic<Hold*> holds_{nullptr};
};
