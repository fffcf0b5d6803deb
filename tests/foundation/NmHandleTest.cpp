#include "foundation/NmHandle.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>

#include "foundation/NmHandableThreaded.h"

namespace {

class Counted : public virtual NmHandableThreaded {
 public:
  explicit Counted(int* alive = nullptr) : alive_(alive) {
    if (alive_ != nullptr) ++*alive_;
  }
  ~Counted() override {
    if (alive_ != nullptr) --*alive_;
  }
  NmHandle<Counted> next;

 private:
  int* alive_;
};
class Derived : public Counted {
  using Counted::Counted;
};

TEST(NmHandle, DestroysWithTheLastReference) {
  int alive = 0;
  {
    NmHandle<Counted> a = new Counted(&alive);
    NmHandle<Counted> b = a;
    EXPECT_EQ(a->refCount(), 2);
    a = nullptr;
    EXPECT_EQ(alive, 1);
    b = new Counted(&alive);
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(alive, 0);
}

TEST(NmHandle, AssigningTheHeldPointerChangesNothing) {
  NmHandle<Counted> a = new Counted;
  a = a.get();
  a = *&a;
  EXPECT_EQ(a->refCount(), 1);
  NmHandle<Counted> b = a;
  a = std::move(b);
  EXPECT_EQ(a->refCount(), 1);
  EXPECT_EQ(b.get(), nullptr);  // NOLINT(bugprone-use-after-move): a move empties the source
}

TEST(NmHandle, TakesTheNewObjectBeforeItDropsTheOld) {
  int alive = 0;
  NmHandle<Counted> list = new Counted(&alive);
  list->next = new Counted(&alive);
  list = list->next;
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(list->refCount(), 1);
}

TEST(NmHandle, ConvertsFromHandlesToDerivedClasses) {
  const NmHandle<Derived> derived = new Derived;
  NmHandle<Counted> base = derived;
  base = nullptr;
  base = derived;
  base = NmHandle<Derived>(derived);
  EXPECT_EQ(derived->refCount(), 2);
  EXPECT_TRUE(base == derived.get());
}

TEST(NmHandle, CopyOfAnObjectHasItsOwnCount) {
  const NmHandle<Counted> a = new Counted;
  const NmHandle<Counted> b = new Counted(*a);
  EXPECT_EQ(b->refCount(), 1);
  *b = *a;
  EXPECT_EQ(b->refCount(), 1);
}

TEST(NmHandle, CountsAcrossThreads) {
  int alive = 0;
  NmHandle<Counted> object = new Counted(&alive);
  const auto work = [](NmHandle<Counted> mine) {
    for (int i = 0; i < 10000; ++i) NmHandle<Counted>(mine)->refCount();
  };
  std::thread a(work, object);
  std::thread b(work, object);
  object = nullptr;
  a.join();
  b.join();
  EXPECT_EQ(alive, 0);
}

}  // namespace
