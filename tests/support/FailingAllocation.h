#pragma once

#include <gtest/gtest.h>

#include "foundation/NmException.h"

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

  /// False if the library's allocations cannot be intercepted.
  static bool isServed();
};

/// Lets each allocation of `attempt` fail in turn, until it has got all of them; a `stride` above 1
/// passes over some beyond the first 400. `check(hasFailed, threw)` looks at what an attempt left
/// and gives it back: memory that stays allocated is a failure. Returns the number of attempts, 0
/// where the test is skipped.
template <class Attempt, class Check>
long failEachAllocation(Attempt attempt, Check check, long stride = 1) {
  if (!FailingAllocation::isServed()) {
    [] { GTEST_SKIP() << "the library's allocations are its own"; }();
    return 0;
  }
  long attempts = 0;
  bool hasFailed = true;
  for (long k = 1; hasFailed && k < 100000; k += k < 400 ? 1 : stride, ++attempts) {
    SCOPED_TRACE(k);
    const long before = FailingAllocation::liveBlocks();
    bool threw = false;
    {
      const FailingAllocation shortage(k);
      try {
        attempt();
      } catch (const NmException&) {
        threw = true;
      }
      hasFailed = shortage.hasFailed();
    }
    check(hasFailed, threw);
    EXPECT_EQ(FailingAllocation::liveBlocks(), before);
  }
  EXPECT_FALSE(hasFailed);
  return attempts;
}
