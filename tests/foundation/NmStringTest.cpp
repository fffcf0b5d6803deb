#include "foundation/NmString.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(NmString, FormatsText) {
  const NmString brief(0, "%d of %s", 3, "seven");
  EXPECT_STREQ(NmString(brief).data, "3 of seven");
  EXPECT_EQ(brief.size, 11);
  EXPECT_EQ(brief.max, 16);
  const std::string text(1000, 'x');
  EXPECT_EQ(NmString(7, "%s.", text.c_str()).data, text + ".");
  EXPECT_STREQ(NmString(0, "%s", "").data, "");
}

}  // namespace
