#include "foundation/NmHandableThreaded.h"

namespace {

/// Replaces the word with next(word) and returns the new value. Release orders this thread's use of
/// the object before the change; acquire makes every other thread's use visible to a destroying
/// thread.
template <class Next>
std::uint64_t exchange(std::atomic<std::uint64_t>& word, Next next) {
  std::uint64_t before = word.load(std::memory_order_relaxed);
  while (!word.compare_exchange_weak(before, next(before), std::memory_order_acq_rel,
                                     std::memory_order_relaxed)) {
  }
  return next(before);
}

}  // namespace

NmHandableThreaded::~NmHandableThreaded() = default;

void NmHandableThreaded::unref() const {
  const std::uint64_t left = exchange(uses_, [](std::uint64_t uses) {
    const bool isLast = (uses & (oneKeeper - 1)) == oneReference;
    return (uses - oneReference) | (isLast ? abandoned : 0);
  });
  if (left == abandoned) delete this;
}

void NmHandableThreaded::letGo() const {
  const std::uint64_t left = exchange(uses_, [](std::uint64_t uses) { return uses - oneKeeper; });
  if (left == abandoned) delete this;
}

long NmHandableThreaded::refCount() const noexcept {
  const std::uint64_t uses = uses_.load(std::memory_order_relaxed);
  return static_cast<long>((uses & (oneKeeper - 1)) + (uses & ~abandoned) / oneKeeper);
}
