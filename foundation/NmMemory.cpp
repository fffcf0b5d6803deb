#include "foundation/NmMemory.h"

#include <cstdlib>

#include "foundation/NmException.h"

void* nmmalloc(std::size_t bytes) {
  void* block = std::malloc(bytes == 0 ? 1 : bytes);
  if (block == nullptr) throw NmMemoryException();
  return block;
}

void* nmcalloc(std::size_t bytes) {
  void* block = std::calloc(bytes == 0 ? 1 : bytes, 1);
  if (block == nullptr) throw NmMemoryException();
  return block;
}

// realloc(p, 0) may free p and return null, which would look like exhaustion and lead to a double
// free.
void* nmrealloc(void* p, std::size_t bytes) {
  void* block = std::realloc(p, bytes == 0 ? 1 : bytes);
  if (block == nullptr) throw NmMemoryException();
  return block;
}

void nmfree(void* p) noexcept {
  std::free(p);
}
