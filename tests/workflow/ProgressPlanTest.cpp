#include <gtest/gtest.h>
#include <voxreg.h>

namespace {

using voxreg::ProgressPlan;

TEST(ProgressPlan, leadsThroughItsStagesByTheirWork) {
  ProgressPlan plan({{"reading", 1.0}, {"searching", 8.0}, {"writing", 1.0}});
  plan.report(0.5);
  EXPECT_DOUBLE_EQ(plan.share(), 0.05);
  plan.enter("searching");
  plan.divide({{"coarse", 1.0}, {"fine", 3.0}});
  EXPECT_EQ(plan.caption(), "coarse");
  EXPECT_DOUBLE_EQ(plan.share(), 0.1);
  plan.report(0.5);
  EXPECT_DOUBLE_EQ(plan.share(), 0.2);
  plan.next();
  EXPECT_EQ(plan.caption(), "fine");
  EXPECT_DOUBLE_EQ(plan.share(), 0.3);
  plan.enter("writing");
  EXPECT_DOUBLE_EQ(plan.share(), 0.9);
  plan.finish();
  EXPECT_EQ(plan.share(), 1.0);
}

TEST(ProgressPlan, neverFallsAndNeverLeavesItsStage) {
  ProgressPlan plan({{"a", 1.0}, {"b", 1.0}});
  plan.report(0.8);
  for (const double part : {0.2, -3.0, 0.8}) {
    plan.report(part);
    EXPECT_DOUBLE_EQ(plan.share(), 0.4);
  }
  plan.enter("unplanned");
  plan.divide({});
  EXPECT_EQ(plan.caption(), "unplanned");
  EXPECT_DOUBLE_EQ(plan.share(), 0.4);
  plan.report(7.0);
  EXPECT_DOUBLE_EQ(plan.share(), 0.5);
  plan.enter("b");
  plan.next();
  EXPECT_EQ(plan.caption(), "b");
  EXPECT_DOUBLE_EQ(plan.share(), 0.5);
}

}  // namespace
