#pragma once

#include <atomic>
#include <cstdint>

#include "foundation/NmMemory.h"

namespace voxreg::detail {
class KeepAlive;
}  // namespace voxreg::detail

/// Base of objects held in NmHandle: a thread-safe reference count that starts at 0. A copy is a
/// new object and does not take over the count.
///
/// From the first reference on, the count controls the object's lifetime, so the object must then
/// come from `new`. An object without references - on the stack, a member, held by a plain pointer
/// - belongs to the host: the library never destroys it, and the host keeps it until nothing uses
/// it.
class NmHandableThreaded : public NmAllocated {
 public:
  NmHandableThreaded() = default;
  NmHandableThreaded(const NmHandableThreaded&) noexcept {}
  NmHandableThreaded& operator=(const NmHandableThreaded&) noexcept { return *this; }
  virtual ~NmHandableThreaded();

  /// Adds one reference.
  void ref() const noexcept { uses_.fetch_add(oneReference, std::memory_order_relaxed); }

  /// Removes one reference and destroys the object with the last one. If a lock keeps the object
  /// alive, the end of that lock destroys it.
  void unref() const;

  /// Number of references, and of locks that keep the object alive.
  long refCount() const noexcept;

 private:
  friend class voxreg::detail::KeepAlive;

  static constexpr std::uint64_t oneReference = 1;
  static constexpr std::uint64_t oneKeeper = std::uint64_t(1) << 32;
  static constexpr std::uint64_t abandoned = std::uint64_t(1) << 63;

  void keep() const noexcept { uses_.fetch_add(oneKeeper, std::memory_order_relaxed); }
  void letGo() const;

  /// References in the lower half, keepers above, and whether the references have ended while there
  /// were keepers. All are in one word, since whoever releases the last of them must see all of
  /// them.
  mutable std::atomic<std::uint64_t> uses_{0};
};
