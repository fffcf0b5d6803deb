#pragma once

#include <atomic>

#include "foundation/NmMemory.h"

/// Base of objects held in NmHandle: a thread-safe reference count that starts at 0. A copy is a
/// new object and does not take over the count.
class NmHandableThreaded : public NmAllocated {
 public:
  NmHandableThreaded() = default;
  NmHandableThreaded(const NmHandableThreaded&) noexcept {}
  NmHandableThreaded& operator=(const NmHandableThreaded&) noexcept { return *this; }
  virtual ~NmHandableThreaded();

  /// Adds one reference.
  void ref() const noexcept { count_.fetch_add(1, std::memory_order_relaxed); }

  /// Removes one reference and destroys the object with the last one.
  void unref() const;

  long refCount() const noexcept { return count_.load(std::memory_order_relaxed); }

 private:
  mutable std::atomic<long> count_{0};
};
