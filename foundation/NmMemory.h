#pragma once

#include <cstddef>

/// Allocates `bytes` bytes (0 counts as 1). Throws NmMemoryException when memory is exhausted.
[[nodiscard]] void* nmmalloc(std::size_t bytes);

/// Like nmmalloc, with every byte 0. A large block uses memory only where it is written.
[[nodiscard]] void* nmcalloc(std::size_t bytes);

/// Resizes a block of nmmalloc, or allocates one for a null `p`; 0 bytes count as 1. Throws
/// NmMemoryException when memory is exhausted; the old block is then unchanged.
[[nodiscard]] void* nmrealloc(void* p, std::size_t bytes);

/// Releases a block from any of these; null is allowed.
void nmfree(void* p) noexcept;

/// Base of the library's own objects: `new` allocates with nmmalloc, so memory exhaustion always
/// appears as NmMemoryException, whatever is being created.
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
