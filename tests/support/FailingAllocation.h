#pragma once

/// Lets this thread's k-th allocation through nmmalloc or nmrealloc from now on fail, counted from
/// 1, until the end of the scope. Needs the link options that wrap malloc, and the static library.
class FailingAllocation {
 public:
  explicit FailingAllocation(long k);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();

  bool hasFailed() const;

  /// False where the library's allocations can't be reached.
  static bool isServed();
};
