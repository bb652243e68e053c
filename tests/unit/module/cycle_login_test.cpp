// When the login record is part of an upload.
#include <gmock/gmock.h>

#include "common/state.h"
#include "cycle_fixture.h"

namespace {

using Login = Cycles;

int LoginOfRoot(_stUsrLogInfo& usr) {
    usr.login_time = "2024-03-01 09:05:07";
    usr.login_name = std::string("root").append(28, '\0');
    usr.login_ip = std::string("10.0.0.9").append(248, '\0');
    return 0;
}

bool UnlessTheSameName(const _stUsrLogInfo& previous, const _stUsrLogInfo& current) {
    return previous.login_name != current.login_name;
}

}  // namespace

TEST_F(Login, ThatIsNewGoesOutOnce) {
    Collectors().login = LoginOfRoot;
    Collectors().login_changed = UnlessTheSameName;
    const bf_kxepinfo::epinfo upload = RunToUpload();
    EXPECT_EQ(upload.cmd(), 10U);
    ASSERT_EQ(upload.login_info().usr_info_size(), 1);
    EXPECT_EQ(upload.login_info().usr_info(0).login_time(), "2024-03-01 09:05:07");
    EXPECT_EQ(upload.login_info().usr_info(0).login_name(), std::string("root").append(28, '\0'));
    for (int cycle = 2; cycle <= 40; ++cycle) {
        EXPECT_EQ(RunToUpload().cmd() & 8U, 0U) << "cycle " << cycle;
    }
}

TEST_F(Login, GoesOutTogetherWithAgentFacts) {
    Collectors().login = LoginOfRoot;
    Collectors().login_changed = UnlessTheSameName;
    Collectors().agent_changed = [](_stAgentInfo&, _stAgentInfo&) { return true; };
    EXPECT_EQ(RunToUpload().cmd(), 14U);
    EXPECT_EQ(RunToUpload().cmd(), 6U);
}

TEST_F(Login, IsComparedWithTheOneBefore) {
    s_lastUsrLogInfo.login_name = "before";
    Collectors().login = LoginOfRoot;
    std::string previous_name;
    std::string current_time;
    Collectors().login_changed = [&](const _stUsrLogInfo& previous, const _stUsrLogInfo& current) {
        previous_name = previous.login_name;
        current_time = current.login_time;
        return false;
    };
    (void)RunToUpload();
    EXPECT_EQ(previous_name, "before");
    EXPECT_EQ(current_time, "2024-03-01 09:05:07");
}

TEST_F(Login, OfNobodyIsAFailureAndNothingIsSentOfIt) {
    Collectors().login = [](_stUsrLogInfo&) { return -1; };
    EXPECT_EQ(RunToUpload().cmd(), 2U);
}
