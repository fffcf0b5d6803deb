#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

#include "foundation/NmBox.h"
#include "foundation/NmException.h"
#include "foundation/NmMat4f.h"
#include "foundation/NmMemory.h"
#include "foundation/NmProgressInterface.h"
#include "foundation/NmString.h"
#include "foundation/ProgressScope.h"
#include "foundation/RegStack.h"
#include "tests/support/RecordingProgress.h"

namespace {

TEST(NmBox, DefaultsAreEmptyAndStoredInOrder) {
  const NmBox3f box;
  const float expected[] = {0.0f, -1.0e10f, 0.0f, -1.0e10f, 0.0f, -1.0e10f};
  EXPECT_EQ(std::memcmp(&box, expected, sizeof expected), 0);
  EXPECT_EQ(NmBox3i(), NmBox3i(0, -1, 0, -1, 0, -1));
}

TEST(NmBox, HasAVolumeAndVoxelSizes) {
  EXPECT_EQ(NmBox3f(-1, 1, 0, 3, 2, 6).volume(), 24.0f);
  EXPECT_EQ(NmBox3f(0, 1, 5, 5, 0, 1).volume(), 0.0f);
  EXPECT_EQ(NmBox3f(0, 1, 1, 0, 1, 0).volume(), -1.0f);
  EXPECT_EQ(NmBox3f(0, 1, std::numeric_limits<float>::quiet_NaN(), 1, 0, 1).volume(), -1.0f);
  EXPECT_EQ(NmBox3f(0, 9, -2, 2, 1, 4).getVoxelSize({10, 5, 1}), NmVec3f(1, 1, 3));
}

TEST(NmBox, EmptyBoxesAreEqualAndOthersByTheirValues) {
  const NmBox3f box(0, 1, 2, 3, 4, 5);
  EXPECT_EQ(box, NmBox3f(-0.0f, 1, 2, 3, 4, 5));
  EXPECT_NE(box, NmBox3f(0, 1, 2, 3, 4, std::nextafter(5.0f, 6.0f)));
  EXPECT_NE(box, NmBox3f(0, 1, 2, 3, 4, 3));
  EXPECT_EQ(NmBox3f(), NmBox3f(7, 6, NAN, 0, 0, 1));
  const NmBox3f unknown(0, 1, 0, NAN, 0, 1);
  EXPECT_NE(unknown, NmBox3f(unknown));
}

TEST(NmMat4f, PointsMoveDirectionsDoNot) {
  const NmMat4f a{{{2, 1, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 5, 1}}};
  NmVec3f p(1, 1, 1);
  EXPECT_EQ(a.multDirMatrix(p), NmVec3f(2, 2, 1));
  a.multVecMatrix(p, p);
  EXPECT_EQ(p, NmVec3f(2, 2, 6));
  a.inverse().multVecMatrix(p, p);
  EXPECT_EQ(p, NmVec3f(1, 1, 1));
}

TEST(NmMemory, NoBytesAreABlockAndExhaustionThrows) {
  char* block = static_cast<char*>(nmrealloc(nmmalloc(0), 64));
  block = static_cast<char*>(nmrealloc(block, 0));
  ASSERT_NE(block, nullptr);
  nmfree(block);
  nmfree(nullptr);
  block = static_cast<char*>(nmrealloc(nullptr, 4));
  std::memcpy(block, "abc", 4);
  volatile unsigned long huge = 1UL << 62;
  EXPECT_THROW(nmfree(nmmalloc(huge)), NmMemoryException);
  EXPECT_THROW(nmfree(nmrealloc(block, huge)), NmException);
  EXPECT_STREQ(block, "abc");
  nmfree(block);
}

TEST(NmException, CarriesItsTextByValue) {
  std::string text(200, 'x');
  const NmException exception(text.c_str());
  text.clear();
  EXPECT_EQ(NmException(exception).what(), std::string(127, 'x'));
  EXPECT_STREQ(NmException(nullptr).what(), "");
}

TEST(NmProgressInterface, TellsItsCaptionAndIsStoppedOnceByAScope) {
  RecordingProgress progress;
  progress.setProgressInfo("level 2");
  EXPECT_EQ(progress.progressInfo(), "level 2");
  progress.setProgressInfo(nullptr);
  progress.onCall = [] { throw std::runtime_error("stopWorking"); };
  {
    const ProgressScope none(nullptr);
    const ProgressScope scope(&progress);
    EXPECT_EQ(progress.calls.size(), 2U);
  }
  EXPECT_EQ(progress.calls, (std::vector<std::string>{"level 2", "", "stop"}));
}

TEST(NmString, FormatsText) {
  const NmString brief(0, "%d of %s", 3, "seven");
  EXPECT_STREQ(NmString(brief).data, "3 of seven");
  EXPECT_EQ(brief.size, 11);
  EXPECT_EQ(brief.max, 16);
  const std::string text(1000, 'x');
  EXPECT_EQ(NmString(7, "%s.", text.c_str()).data, text + ".");
  EXPECT_STREQ(NmString(0, "%s", "").data, "");
}

// A single object is also kept, and null pointers are allowed.
TEST(RegStack, PopsInReverseOrderAndLeavesTheBottomObject) {
  using Item = std::shared_ptr<int>;
  Item bottom = std::make_shared<int>();
  {
    RegStack<Item*> one, stack;
    one.push(&bottom);
    stack.push(&bottom);
    stack.push(new Item(bottom));
    stack.push(nullptr);
    Item* const top = new Item(bottom);
    stack.push(top);
    EXPECT_EQ(stack.pop(), top);
    EXPECT_EQ(stack.pop(), nullptr);
    EXPECT_EQ(stack.size, 2);
    stack.push(top);
  }
  EXPECT_EQ(bottom.use_count(), 1);
  RegStack<Item*> empty;
  EXPECT_EQ(empty.pop(), nullptr);
  EXPECT_EQ(empty.size, 0);
}

}  // namespace
