// The time of the entry as local time.
#include <cstdlib>

#include "accounting_file.h"

namespace {

std::string TimeOf(int32_t seconds) {
    LayDown({Login("alice", "", seconds)});
    return Collect().login_time;
}

}  // namespace

TEST_F(UserLog, TimeBegins1970) {
    EXPECT_EQ(TimeOf(0), "1970-01-01 00:00:00");
}

TEST_F(UserLog, TimeBefore1970IsNegative) {
    EXPECT_EQ(TimeOf(-1), "1969-12-31 23:59:59");
    EXPECT_EQ(TimeOf(INT32_MIN), "1901-12-13 20:45:52");
}

TEST_F(UserLog, TimeEnds2038) {
    EXPECT_EQ(TimeOf(INT32_MAX), "2038-01-19 03:14:07");
}

TEST_F(UserLog, TimeKnowsLeapDays) {
    EXPECT_EQ(TimeOf(kNewYear + 59 * 86400), "2024-02-29 00:00:00");
}

TEST_F(UserLog, TimeIsLocal) {
    (void)setenv("TZ", "XYZ-05:30", 1);
    EXPECT_EQ(TimeOf(kNewYear), "2024-01-01 05:30:00");
}

TEST_F(UserLog, TimeKnowsSummerTime) {
    (void)setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    EXPECT_EQ(TimeOf(kNewYear), "2024-01-01 01:00:00");
    EXPECT_EQ(TimeOf(kNewYear + 182 * 86400), "2024-07-01 02:00:00");
}

TEST_F(UserLog, TimeFollowsAChangeOfTheTimeZone) {
    EXPECT_EQ(TimeOf(kNewYear), "2024-01-01 00:00:00");
    (void)setenv("TZ", "ABC8", 1);
    EXPECT_EQ(Collect().login_time, "2023-12-31 16:00:00");
    (void)setenv("TZ", "UTC0", 1);
    EXPECT_EQ(Collect().login_time, "2024-01-01 00:00:00");
}
