#include <cstddef>
#include <cstdlib>
#include <new>

// Leads every `new` of a program to the allocator that voxreg_wrap_allocation watches.

void* operator new(std::size_t bytes) {
  void* const block = std::malloc(bytes > 0 ? bytes : 1);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new[](std::size_t bytes) {
  return ::operator new(bytes);
}
void operator delete(void* p) noexcept {
  std::free(p);
}
void operator delete[](void* p) noexcept {
  std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
  std::free(p);
}
