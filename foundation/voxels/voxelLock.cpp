#include "foundation/voxels/voxelLock.h"

#include <cstdint>

namespace voxreg::detail {

ThreadIdentity ThreadIdentity::current() {
  thread_local const ThreadIdentity self = {std::this_thread::get_id(),
                                            std::chrono::steady_clock::now()};
  return self;
}

VoxelLock::Reader* VoxelLock::findReader(const ThreadIdentity& thread) {
  for (std::int64_t i = 0; i < readers_.size; ++i)
    if (readers_[i].thread == thread) return &readers_[i];
  return nullptr;
}

VoxelLock::Answer VoxelLock::acquire(bool write, bool wait) {
  const ThreadIdentity self = ThreadIdentity::current();
  std::unique_lock guard(mutex_);
  if (writing_ && writer_ == self) return Answer::impossible;
  if (write && findReader(self) != nullptr) return Answer::impossible;
  if (!wait && !isFree(write)) return Answer::busy;
  released_.wait(guard, [&] { return isFree(write); });
  if (write) {
    writing_ = true;
    writer_ = self;
  } else if (Reader* const reader = findReader(self)) {
    ++reader->count;
  } else {
    const Reader fresh = {self, 1};
    readers_.insert(readers_.size, 1, &fresh);
  }
  return Answer::granted;
}

void VoxelLock::release(const ThreadIdentity& owner, bool write) noexcept {
  const std::lock_guard guard(mutex_);
  if (write) {
    writing_ = false;
  } else {
    Reader* const reader = findReader(owner);
    if (--reader->count > 0) return;
    *reader = readers_[readers_.size - 1];
    readers_.resize(readers_.size - 1);
  }
  released_.notify_all();
}

}  // namespace voxreg::detail
