#include "foundation/NmString.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(NmString, FormatsText) {
  const NmString brief(0, "%d of %s", 3, "seven");
  EXPECT_STREQ(brief.data, "3 of seven");
  EXPECT_EQ(brief.size, 11);
  EXPECT_EQ(brief.max, 16);
  const std::string text(1000, 'x');
  const NmString whole(7, "%s.", text.c_str());
  EXPECT_EQ(whole.data, text + ".");
  const NmString copy = brief;
  EXPECT_STREQ(copy.data, "3 of seven");
  EXPECT_STREQ(NmString(0, "%s", "").data, "");
}

}  // namespace
