#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "epinfo.pb.h"
#include "fake_agent.h"
#include "log_capture.h"
#include "msghandler/msgprotobuf.h"
#include "sample_records.h"

using bf_kxepinfo::epinfo;
using kxtest::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class Serializer : public ::testing::Test {
  protected:
    void SetUp() override {
        kxtest::ResetAgent();
        kxtest::Agent().nox_get_hostid = [] { return 4711U; };
        kxtest::Agent().kxe_time = [] { return uint64_t{1700000000}; };
        kxtest::ClearLog();
        CMsgBase* made = nullptr;
        ASSERT_TRUE(InitMsgSerializer(&made, MSG_SERIALIZER_PROTOBUF));
        serializer.reset(made);
    }

    // Any number as a type, several bits or none included.
    int Add(void* record, int type) {
        return serializer->AddDataToSerialize(record, static_cast<_PROTO_MSG_TYPE>(type));
    }

    epinfo Serialised() {
        epinfo msg;
        EXPECT_TRUE(msg.ParseFromString(Bytes()));
        return msg;
    }

    // The encoding; the time in it is always the same.
    std::string Bytes() {
        std::string bytes;
        EXPECT_EQ(serializer->DoMsgSerialize(bytes), 0);
        return bytes;
    }

    std::unique_ptr<CMsgBase> serializer;
    _stResmon resmon = SampleResmon();
    _stAgentInfo agent = SampleAgent();
    _stUsrLogInfo login = SampleLogin();
};

std::vector<std::string> Sections(const epinfo& msg) {
    const std::pair<const char*, bool> sections[] = {
        {"rc_info", msg.has_rc_info()},       {"sys_info", msg.has_sys_info()},
        {"login_info", msg.has_login_info()}, {"ui_info", msg.has_ui_info()},
        {"trust_info", msg.has_trust_info()}, {"custom_info", msg.has_custom_info()}};
    std::vector<std::string> present;
    for (const auto& [name, is_present] : sections) {
        if (is_present) {
            present.emplace_back(name);
        }
    }
    return present;
}

// Only to be refused: its address stands for an untouched output.
CMsgBase* Untouched() {
    static CMsgProtobuf other;
    return &other;
}

}  // namespace

TEST_F(Serializer, FreshOneHasNothingToSendAndLogsNothing) {
    std::string bytes = "old";
    EXPECT_EQ(serializer->DoMsgSerialize(bytes), -1);
    EXPECT_EQ(bytes, "old");
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(Serializer, ResourceRecordGivesCmd2) {
    EXPECT_EQ(Add(&resmon, AGT_MGR_RC), 0);
    const epinfo msg = Serialised();
    EXPECT_EQ(msg.cmd(), 2U);
    EXPECT_EQ(msg.agent_id(), 4711U);
    EXPECT_EQ(msg.agent_timestamp(), 1700000000U);
    EXPECT_EQ(msg.rc_info().cpu_usage(), 1205U);
}

TEST_F(Serializer, AgentRecordGivesCmd4) {
    EXPECT_EQ(Add(&agent, AGT_MGR_SYS), 0);
    const epinfo msg = Serialised();
    EXPECT_EQ(msg.cmd(), 4U);
    EXPECT_EQ(msg.sys_info().base_info().host_node(), "node");
}

TEST_F(Serializer, LoginRecordGivesCmd8) {
    EXPECT_EQ(Add(&login, AGT_MGR_LOGIN), 0);
    const epinfo msg = Serialised();
    EXPECT_EQ(msg.cmd(), 8U);
    EXPECT_EQ(msg.login_info().usr_info(0).login_time(), "2024-03-01 09:05:07");
}

TEST_F(Serializer, RecordsAddUp) {
    EXPECT_EQ(Add(&resmon, AGT_MGR_RC), 0);
    EXPECT_EQ(Add(&agent, AGT_MGR_SYS), 0);
    EXPECT_EQ(Add(&login, AGT_MGR_LOGIN), 0);
    EXPECT_EQ(Serialised().cmd(), 14U);
}

TEST_F(Serializer, UnknownTypesAreRefused) {
    for (const int type : {0, 1, 16, 32}) {
        EXPECT_EQ(Add(&resmon, type), -1) << type;
    }
    std::string bytes;
    EXPECT_EQ(serializer->DoMsgSerialize(bytes), -1);
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(Serializer, UnknownTypesLeaveTheMessageAsItWas) {
    EXPECT_EQ(Add(&resmon, AGT_MGR_RC), 0);
    const std::string before = Bytes();
    kxtest::ClearLog();
    for (const int type : {0, 1, 16, 32}) {
        EXPECT_EQ(Add(&login, type), -1) << type;
        EXPECT_EQ(Bytes(), before) << type;
    }
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(Serializer, OfSeveralBitsTheLowestKnownOneCounts) {
    EXPECT_EQ(Add(&resmon, 6), 0);
    const epinfo msg = Serialised();
    EXPECT_EQ(msg.cmd(), 2U);
    EXPECT_THAT(Sections(msg), ElementsAre("rc_info"));
}

TEST_F(Serializer, SystemBitComesBeforeLoginBit) {
    EXPECT_EQ(Add(&agent, 12), 0);
    const epinfo msg = Serialised();
    EXPECT_EQ(msg.cmd(), 4U);
    EXPECT_THAT(Sections(msg), ElementsAre("sys_info"));
}

TEST_F(Serializer, UnknownBitsBesideAKnownOneDoNotMatter) {
    EXPECT_EQ(Add(&login, 8 | 16 | 1), 0);
    EXPECT_EQ(Serialised().cmd(), 8U);
}

TEST_F(Serializer, SerialisingDoesNotClear) {
    EXPECT_EQ(Add(&resmon, AGT_MGR_RC), 0);
    EXPECT_EQ(Serialised().cmd(), 2U);
    EXPECT_EQ(Add(&login, AGT_MGR_LOGIN), 0);
    EXPECT_EQ(Serialised().cmd(), 10U);
}

TEST_F(Serializer, UnknownKindsAreRefusedAndLeaveTheOutput) {
    for (const int kind : {0, 2, -1}) {
        CMsgBase* made = Untouched();
        kxtest::ClearLog();
        EXPECT_FALSE(InitMsgSerializer(&made, kind));
        EXPECT_EQ(made, Untouched());
        EXPECT_THAT(kxtest::LoggedLines(),
                    ElementsAre(LogLine{3, "kxepinfo",
                                        "this type<" + std::to_string(kind) +
                                            "> of msg transfromation protocal is not "
                                            "supported\n"}));
    }
}
