#include "foundation/RegStack.h"

#include <gtest/gtest.h>

namespace {

class Item {
 public:
  explicit Item(int& alive) : alive_(alive) { ++alive_; }
  ~Item() { --alive_; }

 private:
  int& alive_;
};

TEST(RegStack, PopsInReverseOrder) {
  int alive = 0;
  RegStack<Item*> stack;
  Item first(alive);
  Item second(alive);
  stack.push(&first);
  stack.push(nullptr);
  stack.push(&second);
  EXPECT_EQ(stack.pop(), &second);
  EXPECT_EQ(stack.pop(), nullptr);
  EXPECT_FALSE(stack.isEmpty());
  EXPECT_EQ(stack.pop(), &first);
  EXPECT_TRUE(stack.isEmpty());
  EXPECT_EQ(stack.pop(), nullptr);
  EXPECT_EQ(stack.size, 0);
}

TEST(RegStack, DestructorLeavesTheBottomObject) {
  int alive = 0;
  Item bottom(alive);
  {
    RegStack<Item*> one;
    one.push(&bottom);
    RegStack<Item*> many;
    many.push(&bottom);
    many.push(new Item(alive));
    many.push(nullptr);
    many.push(new Item(alive));
  }
  EXPECT_EQ(alive, 1);
}

}  // namespace
