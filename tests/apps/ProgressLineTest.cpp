#include "terminal/ProgressLine.h"

#include <gtest/gtest.h>

namespace {

TEST(ProgressLine, tellsTheTimeThatIsLeftWhenItCanBeKnown) {
  EXPECT_EQ(host::timeLeft(1.0, 0.5), "");
  EXPECT_EQ(host::timeLeft(60.0, 0.01), "");
  EXPECT_EQ(host::timeLeft(60.0, 1.0), "");
  EXPECT_EQ(host::timeLeft(9.0, 0.5), "about 10 s left");
  EXPECT_EQ(host::timeLeft(30.0, 0.2), "about 2 min left");
  EXPECT_EQ(host::timeLeft(600.0, 0.05), "about 3 h left");
}

}  // namespace
