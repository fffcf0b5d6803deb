#include "foundation/NmHandle.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>

#include "foundation/NmHandableThreaded.h"

namespace {

int alive = 0;

class Counted : public virtual NmHandableThreaded {
 public:
  Counted() { ++alive; }
  Counted(const Counted& other) : NmHandableThreaded(other) { ++alive; }
  Counted& operator=(const Counted&) = default;
  ~Counted() override { --alive; }
  NmHandle<Counted> next;
};

TEST(NmHandle, DestroysWithTheLastReference) {
  {
    NmHandle<Counted> a = new Counted;
    NmHandle<Counted> b = a;
    EXPECT_EQ(a->refCount(), 2);
    a = nullptr;
    EXPECT_EQ(alive, 1);
    b = new Counted;
    EXPECT_EQ(alive, 1);
    b->next = new Counted;
    b = b->next;  // gains its reference before it loses its owner
    EXPECT_EQ(alive, 1);
    EXPECT_EQ(b->refCount(), 1);
  }
  EXPECT_EQ(alive, 0);
}

TEST(NmHandle, NeitherTheHeldPointerNorACopyOfTheObjectChangesTheCount) {
  NmHandle<Counted> a = new Counted;
  a = a.get();
  a = *&a;
  EXPECT_EQ(a->refCount(), 1);
  const NmHandle<Counted> object = new Counted(*a);
  *object = *a;
  EXPECT_EQ(object->refCount(), 1);
  NmHandle<Counted> b = a;
  a = std::move(b);
  EXPECT_EQ(a->refCount(), 1);
  EXPECT_EQ(b.get(), nullptr);  // NOLINT(bugprone-use-after-move): a move empties the source
}

TEST(NmHandle, CountsAcrossThreads) {
  NmHandle<Counted> object = new Counted;
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
