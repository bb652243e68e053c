#include "common/fault.h"

#include <gtest/gtest.h>

namespace {

constexpr kxapp::FaultKind kKinds[] = {{"silent", "does not answer"}, {"bad", "answers badly"}};

}  // namespace

TEST(FaultPlan, WithoutFaultsNothingGoesWrong) {
    kxapp::FaultPlan plan(kKinds);
    EXPECT_EQ(plan.take(), "");
}

TEST(FaultPlan, AKindAloneIsForEver) {
    kxapp::FaultPlan plan(kKinds);
    EXPECT_EQ(plan.add("silent"), "");
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(plan.take(), "silent");
    }
}

TEST(FaultPlan, ACountEndsIt) {
    kxapp::FaultPlan plan(kKinds);
    EXPECT_EQ(plan.add("bad:2"), "");
    EXPECT_EQ(plan.take(), "bad");
    EXPECT_EQ(plan.take(), "bad");
    EXPECT_EQ(plan.take(), "");
}

TEST(FaultPlan, StepsFollowEachOther) {
    kxapp::FaultPlan plan(kKinds);
    EXPECT_EQ(plan.add("bad:1"), "");
    EXPECT_EQ(plan.add("silent:1"), "");
    EXPECT_EQ(plan.add("bad"), "");
    EXPECT_EQ(plan.take(), "bad");
    EXPECT_EQ(plan.take(), "silent");
    EXPECT_EQ(plan.take(), "bad");
    EXPECT_EQ(plan.take(), "bad");
}

TEST(FaultPlan, RefusesAnUnknownKind) {
    kxapp::FaultPlan plan(kKinds);
    EXPECT_EQ(plan.add("loud:3"), "no such fault: 'loud'");
    EXPECT_EQ(plan.add(""), "no such fault: ''");
    EXPECT_EQ(plan.take(), "");
}

TEST(FaultPlan, RefusesACountThatIsNone) {
    kxapp::FaultPlan plan(kKinds);
    EXPECT_EQ(plan.add("bad:"), "not a number of times: ''");
    EXPECT_EQ(plan.add("bad:0"), "not a number of times: '0'");
    EXPECT_EQ(plan.add("bad:-1"), "not a number of times: '-1'");
    EXPECT_EQ(plan.add("bad:1:2"), "not a number of times: '1:2'");
    EXPECT_EQ(plan.take(), "");
}

TEST(DescribeFaults, AlignsTheMeanings) {
    EXPECT_EQ(kxapp::DescribeFaults(kKinds),
              "  silent  does not answer\n"
              "  bad     answers badly\n");
}
