// An agent whose id stays unknown.
#include <gmock/gmock.h>

#include <memory>

#include "fake_agent.h"
#include "log_capture.h"
#include "msghandler/kxepproto.h"
#include "msghandler/msgbase.h"

using kxtest::LogLine;
using ::testing::ElementsAre;

namespace {

const LogLine kUnknown = {2, "kxepproto",
                          "get id of this agent failed while transform proto to string\n"};

class UnknownAgentId : public ::testing::Test {
  protected:
    void SetUp() override {
        kxtest::ResetAgent();
        kxtest::Agent().nox_get_hostid = [] { return 0U; };
        kxtest::ClearLog();
    }
};

}  // namespace

TEST_F(UnknownAgentId, EncodingFailsEveryTimeAndSaysSo) {
    bf_kxepinfo::epinfo msg;
    std::string bytes = "old";
    EXPECT_FALSE(ProtoToString(msg, bytes));
    EXPECT_FALSE(ProtoToString(msg, bytes));
    EXPECT_THAT(kxtest::LoggedLines(), ElementsAre(kUnknown, kUnknown));
    EXPECT_EQ(bytes, "old");
    EXPECT_EQ(msg.agent_id(), 0U);
    EXPECT_EQ(msg.agent_timestamp(), 0U);
}

TEST_F(UnknownAgentId, SerializerFailsAndSaysSo) {
    CMsgBase* made = nullptr;
    ASSERT_TRUE(InitMsgSerializer(&made, MSG_SERIALIZER_PROTOBUF));
    const std::unique_ptr<CMsgBase> serializer(made);
    _stResmon resmon;
    ASSERT_EQ(serializer->AddDataToSerialize(&resmon, AGT_MGR_RC), 0);
    std::string bytes = "old";
    EXPECT_EQ(serializer->DoMsgSerialize(bytes), -1);
    EXPECT_EQ(bytes, "old");
    EXPECT_THAT(kxtest::LoggedLinesUpTo(3),
                ElementsAre(kUnknown, LogLine{2, "../msghandler/msgprotobuf",
                                              "failed to serialize protobuf in epinfo\n"}));
}
