#include "foundation/NmMemory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "foundation/NmException.h"

namespace {

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

}  // namespace
