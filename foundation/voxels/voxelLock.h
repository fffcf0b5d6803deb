#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <type_traits>

#include "foundation/NmDArray.h"
#include "foundation/NmMemory.h"

namespace voxreg::detail {

/// Identifies a thread permanently: a thread id alone passes to a new thread once its first owner
/// has ended, possibly while a lock taken by it is still held.
struct ThreadIdentity {
  std::thread::id id;
  std::chrono::steady_clock::time_point since;

  static ThreadIdentity current();
  bool operator==(const ThreadIdentity&) const = default;
};
static_assert(std::is_trivially_copyable_v<ThreadIdentity>);

/// Lock of a volume's voxels: many readers or one writer. A reader never waits for a waiting
/// writer, so a thread that reads may continue to read, and threads that lock two volumes for
/// reading in different orders cannot block each other.
class VoxelLock : public NmAllocated {
 public:
  enum class Answer {
    granted,
    busy,       ///< not available without waiting
    impossible  ///< the thread's own lock conflicts, so waiting would never end
  };

  /// Takes the lock for the calling thread. May throw NmMemoryException, with the lock unchanged.
  Answer acquire(bool write, bool wait);

  /// Releases, on any thread, what `owner` acquired.
  void release(const ThreadIdentity& owner, bool write) noexcept;

 private:
  struct Reader {
    ThreadIdentity thread;
    std::int64_t count;
  };

  Reader* findReader(const ThreadIdentity& thread);
  bool isFree(bool write) const { return !writing_ && !(write && readers_.size > 0); }

  std::mutex mutex_;
  std::condition_variable released_;
  NmDArray<Reader> readers_;
  bool writing_ = false;
  ThreadIdentity writer_;
};

/// The result of one acquisition of a VoxelLock; releases it at the end of its lifetime.
class VoxelLease {
 public:
  VoxelLease(VoxelLock& lock, bool write, bool wait)
      : lock_(&lock), owner_(ThreadIdentity::current()), write_(write) {
    answer_ = lock.acquire(write, wait);
  }
  VoxelLease(VoxelLease&& other) noexcept
      : lock_(other.lock_), owner_(other.owner_), write_(other.write_), answer_(other.answer_) {
    other.answer_ = VoxelLock::Answer::busy;
  }
  VoxelLease& operator=(VoxelLease&&) = delete;
  ~VoxelLease() {
    if (isGranted()) lock_->release(owner_, write_);
  }

  bool isGranted() const { return answer_ == VoxelLock::Answer::granted; }
  bool isBusy() const { return answer_ == VoxelLock::Answer::busy; }
  bool isForWriting() const { return write_; }

 private:
  VoxelLock* lock_;
  ThreadIdentity owner_;
  bool write_;
  VoxelLock::Answer answer_;
};

}  // namespace voxreg::detail
