#pragma once

#include <cstddef>

/// Allocates `bytes` bytes (0 counts as 1). Throws NmMemoryException when memory is exhausted.
[[nodiscard]] void* nmmalloc(std::size_t bytes);

/// nmmalloc with every byte 0. A large block takes memory only where it is written.
[[nodiscard]] void* nmcalloc(std::size_t bytes);

/// Resizes a block of nmmalloc, or allocates one for a null `p`; 0 bytes count as 1. Throws
/// NmMemoryException when memory is exhausted, and the old block is then untouched.
[[nodiscard]] void* nmrealloc(void* p, std::size_t bytes);

/// Releases a block of these; null is allowed.
void nmfree(void* p) noexcept;

/// Base of the library's own objects: `new` takes its memory from nmmalloc, so that an exhausted
/// allocator always shows as NmMemoryException, whatever is being made.
class NmAllocated {
 public:
  static void* operator new(std::size_t bytes) { return nmmalloc(bytes); }
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void* p) noexcept { nmfree(p); }
  static void operator delete(void*, void*) noexcept {}

 protected:
  NmAllocated() = default;
  ~NmAllocated() = default;
};
