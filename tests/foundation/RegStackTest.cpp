#include "foundation/RegStack.h"

#include <gtest/gtest.h>

namespace {

struct Item {
  explicit Item(int& count) : alive(count) { ++alive; }
  ~Item() { --alive; }
  int& alive;
};

// One object alone stays too, and nulls are nothing to stumble over.
TEST(RegStack, PopsInReverseOrderAndLeavesTheBottomObject) {
  int alive = 0;
  Item bottom(alive);
  {
    RegStack<Item*> one, stack;
    one.push(&bottom);
    stack.push(&bottom);
    stack.push(new Item(alive));
    stack.push(nullptr);
    Item* const top = new Item(alive);
    stack.push(top);
    EXPECT_EQ(stack.pop(), top);
    EXPECT_EQ(stack.pop(), nullptr);
    EXPECT_EQ(stack.size, 2);
    stack.push(top);
  }
  EXPECT_EQ(alive, 1);
  RegStack<Item*> empty;
  EXPECT_EQ(empty.pop(), nullptr);
  EXPECT_EQ(empty.size, 0);
}

}  // namespace
