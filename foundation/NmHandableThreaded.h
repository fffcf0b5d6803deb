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
/// The count decides over an object's life from the first reference on, so that it must then come
/// from `new`. An object without one - on the stack, a member, behind a plain pointer - is the
/// host's alone: the library never destroys it, and the host keeps it until nothing uses it.
class NmHandableThreaded : public NmAllocated {
 public:
  NmHandableThreaded() = default;
  NmHandableThreaded(const NmHandableThreaded&) noexcept {}
  NmHandableThreaded& operator=(const NmHandableThreaded&) noexcept { return *this; }
  virtual ~NmHandableThreaded();

  /// Adds one reference.
  void ref() const noexcept { uses_.fetch_add(oneReference, std::memory_order_relaxed); }

  /// Removes one reference and destroys the object with the last one; while a lock keeps it alive,
  /// the end of that lock does.
  void unref() const;

  /// References, and locks that keep the object alive.
  long refCount() const noexcept;

 private:
  friend class voxreg::detail::KeepAlive;

  static constexpr std::uint64_t oneReference = 1;
  static constexpr std::uint64_t oneKeeper = std::uint64_t(1) << 32;
  static constexpr std::uint64_t abandoned = std::uint64_t(1) << 63;

  void keep() const noexcept { uses_.fetch_add(oneKeeper, std::memory_order_relaxed); }
  void letGo() const;

  /// References in the lower half, keepers above, and whether the references have ended while there
  /// were keepers. All in one word, since who takes the last of them decides by all of them.
  mutable std::atomic<std::uint64_t> uses_{0};
};
