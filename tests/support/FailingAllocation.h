#pragma once

/// Lets this thread's k-th allocation in the library from now on fail, counted from 1, until the
/// end of the scope. Needs voxreg_wrap_allocation and the static library.
class FailingAllocation {
 public:
  explicit FailingAllocation(long k);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();

  bool hasFailed() const;

  /// Blocks that this thread has allocated less those that it has freed.
  static long liveBlocks();

  /// Requests for memory that this thread has made, those that moved a block included.
  static long allocations();

  /// False where the library's allocations can't be reached.
  static bool isServed();
};
