#include "foundation/NmHandableThreaded.h"

NmHandableThreaded::~NmHandableThreaded() = default;

void NmHandableThreaded::unref() const {
  // Release orders this thread's use of the object before the count falls; acquire makes the
  // destroying thread see every other thread's use.
  if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}
