#include "tests/support/FailingAllocation.h"

#include <cstddef>

#include "foundation/NmException.h"
#include "foundation/NmMemory.h"

namespace {

thread_local long remaining = 0;
thread_local bool failed = false;
thread_local long live = 0;
thread_local long made = 0;

bool isDue() {
  ++made;
  if (remaining == 0 || --remaining > 0) return false;
  failed = true;
  return true;
}

void* counted(void* block) {
  if (block != nullptr) ++live;
  return block;
}

}  // namespace

extern "C" {
void* __real_malloc(std::size_t bytes);
void* __real_calloc(std::size_t count, std::size_t bytes);
void* __real_realloc(void* p, std::size_t bytes);
void __real_free(void* p);
void* __wrap_malloc(std::size_t bytes) {
  return isDue() ? nullptr : counted(__real_malloc(bytes));
}
void* __wrap_calloc(std::size_t count, std::size_t bytes) {
  return isDue() ? nullptr : counted(__real_calloc(count, bytes));
}
void* __wrap_realloc(void* p, std::size_t bytes) {
  if (isDue()) return nullptr;
  return p == nullptr ? counted(__real_realloc(p, bytes)) : __real_realloc(p, bytes);
}
void __wrap_free(void* p) {
  if (p != nullptr) --live;
  __real_free(p);
}

// Sizes beyond all memory shall fail under the sanitizers as they do without.
const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}
const char* __tsan_default_options() {
  return "allocator_may_return_null=1";
}
}

FailingAllocation::FailingAllocation(long k) {
  remaining = k;
  failed = false;
}
FailingAllocation::~FailingAllocation() {
  remaining = 0;
}

bool FailingAllocation::hasFailed() const {
  return failed;
}

long FailingAllocation::liveBlocks() {
  return live;
}

long FailingAllocation::allocations() {
  return made;
}

bool FailingAllocation::isServed() {
  const FailingAllocation first(1);
  try {
    nmfree(nmmalloc(1));
  } catch (const NmMemoryException&) {
  }
  return first.hasFailed();
}
