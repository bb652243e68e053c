// Uploads and their answers over the plain bus.
#include <gmock/gmock.h>

#include <cerrno>

#include "answer_frames.h"
#include "plain_agent/journal.h"
#include "plain_agent_fixture.h"

using testing::Contains;

namespace {

constexpr unsigned kFailuresUntilOffline = 5;

class PlainUpload : public PlainAgent {
  protected:
    // As many uploads as make the module say that it is offline, when all of them fail.
    void StartAndFail(const plain::Answer& answer) {
        plain::AnswerRequestsTo("mgr_ei", answer);
        Start();
        EXPECT_EQ(OnlineState(), "1");
        for (unsigned i = 1; i < kFailuresUntilOffline; ++i) {
            RunCycle();
        }
        EXPECT_EQ(OnlineState(), "0");
    }

    static std::string FirstUpload() { return plain::RequestsTo("mgr_ei").at(0).data; }
};

}  // namespace

TEST_F(PlainUpload, TheFirstOneHasTheHeaderAndDecodes) {
    Start();
    Stop();
    ASSERT_EQ(plain::RequestsTo("mgr_ei").size(), 1U);
    EXPECT_EQ(plain::RequestsTo("mgr_ei")[0].type, 0U);
    constexpr std::size_t kHeaderSize = 20;
    const std::string upload = FirstUpload();
    ASSERT_GT(upload.size(), kHeaderSize);
    const std::string payload = upload.substr(kHeaderSize);
    EXPECT_EQ(upload, kxtest::Frame(payload));

    bf_kxepinfo::epinfo message;
    ASSERT_TRUE(message.ParseFromString(payload));
    EXPECT_NE(message.cmd() & (bf_kxepinfo::AGT_MGR_RC | bf_kxepinfo::AGT_MGR_SYS), 0U);
    EXPECT_EQ(message.agent_id(), 4711U);
    EXPECT_EQ(message.sys_info().base_info().sys_distro(), "Plain Linux 1");
    EXPECT_EQ(message.sys_info().base_info().containerid(), std::string(64, 'a'));
    EXPECT_EQ(message.sys_info().agent_info().agent_version(), "1.2.3");
}

TEST_F(PlainUpload, AcceptedOnesKeepItOnline) {
    plain::AnswerRequestsTo("mgr_ei", ManagerSays(kxtest::Frame(kxtest::Accepted())));
    Start();
    for (unsigned i = 1; i < kFailuresUntilOffline; ++i) {
        RunCycle();
    }
    EXPECT_EQ(OnlineState(), "1");
    EXPECT_THAT(plain::Journal(), Contains("4 kxepinfo: send msg <type: 6> to mgr success\n"));
    Stop();
}

TEST_F(PlainUpload, AnAcceptedOneBringsItBackOnline) {
    StartAndFail({.status = ETIMEDOUT});
    plain::AnswerRequestsTo("mgr_ei", ManagerSays(kxtest::Frame(kxtest::Accepted())));
    RunCycle();
    EXPECT_EQ(OnlineState(), "1");
    Stop();
}

TEST_F(PlainUpload, RefusedOnesPutItOffline) {
    StartAndFail(ManagerSays(kxtest::Frame(kxtest::Refused())));
    EXPECT_THAT(plain::Journal(),
                Contains("2 kxepinfo: send msg <type: 14> to mgr failed with error: not today\n"));
    Stop();
}

TEST_F(PlainUpload, UnreadableAnswersPutItOffline) {
    StartAndFail(ManagerSays(kxtest::Frame("\xff\xff\xff")));
    EXPECT_THAT(plain::Journal(),
                Contains("2 kxepinfo: parse kxepinfo response msg from mgr fail\n"));
    Stop();
}

TEST_F(PlainUpload, AnswersShorterThanTheyClaimPutItOffline) {
    StartAndFail(ManagerSays(kxtest::Frame("123456789", 10)));
    EXPECT_THAT(plain::Journal(),
                Contains("2 kxepinfo: parse mgr response fail, message size not match, header "
                         "size=20, msg size=10, receive size=29\n"));
    Stop();
}

TEST_F(PlainUpload, AnswersWithoutABytePutItOffline) {
    StartAndFail(ManagerSays(""));
    EXPECT_THAT(plain::Journal(), Contains("2 kxepinfo: msg check failed, lenth is 0"));
    Stop();
}

TEST_F(PlainUpload, TimeOutsPutItOffline) {
    StartAndFail({.status = ETIMEDOUT});
    EXPECT_THAT(plain::Journal(),
                Contains("2 kxepinfo: send msg to mgr failed with error msg: plain time-out\n"));
    Stop();
}

TEST_F(PlainUpload, ADuplicateIdIsMarkedWithTwoFiles) {
    auto duplicate = kxtest::Accepted();
    duplicate.set_duplicate(1);
    plain::AnswerRequestsTo("mgr_ei", ManagerSays(kxtest::Frame(duplicate)));
    Start();
    Stop();
    const auto config = kxtest::InstallationRoot() / "config";
    EXPECT_EQ(kxtest::ReadFile(config / "clone_flag"), "1");
    EXPECT_TRUE(std::filesystem::exists(config / "recalculate_agentid"));
}
