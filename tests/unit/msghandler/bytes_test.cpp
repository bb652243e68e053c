// Encoding and decoding.
#include <gmock/gmock.h>

#include "fake_agent.h"
#include "log_capture.h"
#include "msghandler/kxepproto.h"
#include "sample_records.h"

using bf_kxepinfo::epinfo;
using ::testing::IsEmpty;

namespace {

class Bytes : public ::testing::Test {
  protected:
    void SetUp() override {
        kxtest::ResetAgent();
        kxtest::Agent().nox_get_hostid = [] { return 4711U; };
        kxtest::Agent().kxe_time = [] { return uint64_t{1700000000}; };
        kxtest::ClearLog();
    }
};

}  // namespace

TEST_F(Bytes, EncodingStampsAgentIdAndTime) {
    epinfo msg;
    std::string bytes = "old";
    AddResmonToProto(SampleResmon(), msg);
    EXPECT_TRUE(ProtoToString(msg, bytes));
    EXPECT_EQ(msg.agent_id(), 4711U);
    EXPECT_EQ(msg.agent_timestamp(), 1700000000U);
    EXPECT_EQ(bytes, msg.SerializeAsString());
}

TEST_F(Bytes, TimeIs64BitsWide) {
    kxtest::Agent().kxe_time = [] { return uint64_t{0x123456789ABCDEF0}; };
    epinfo msg;
    std::string bytes;
    EXPECT_TRUE(ProtoToString(msg, bytes));
    epinfo decoded;
    ASSERT_TRUE(ParseEpinfoFromStr(bytes, decoded));
    EXPECT_EQ(decoded.agent_timestamp(), 0x123456789ABCDEF0U);
}

TEST_F(Bytes, UploadDecodesToWhatWasEncoded) {
    epinfo msg;
    AddResmonToProto(SampleResmon(), msg);
    AddAgentToProto(SampleAgent(), msg);
    AddUsrLogToProto(SampleLogin(), msg);
    std::string bytes;
    ASSERT_TRUE(ProtoToString(msg, bytes));
    epinfo decoded;
    EXPECT_TRUE(ParseEpinfoFromStr(bytes, decoded));
    EXPECT_EQ(GetCmdFromProto(decoded), 14U);
    EXPECT_EQ(GetAgentId(decoded), 4711U);
    EXPECT_EQ(decoded.SerializeAsString(), bytes);
}

TEST_F(Bytes, BytesThatAreNoUploadAreRefused) {
    epinfo msg;
    EXPECT_FALSE(ParseEpinfoFromStr("\x1a\x7f", msg));
}

TEST_F(Bytes, AnswerDecodes) {
    bf_kxepinfo::epinfo_msg_respone msg;
    EXPECT_TRUE(ParseRespMsgFromStr("\x08\x01\x10\x02", msg));
    EXPECT_EQ(msg.status(), 1U);
    EXPECT_EQ(msg.cmd_type(), 2U);
}

TEST_F(Bytes, BytesThatAreNoAnswerAreRefused) {
    bf_kxepinfo::epinfo_msg_respone msg;
    EXPECT_FALSE(ParseRespMsgFromStr("\xff\xff\xff", msg));
}

TEST_F(Bytes, BytesBehindAZeroCount) {
    bf_kxepinfo::epinfo_msg_respone msg;
    EXPECT_TRUE(ParseRespMsgFromStr(std::string("\x08\x00\x10\x02", 4), msg));
    EXPECT_EQ(msg.cmd_type(), 2U);
}

TEST_F(Bytes, NothingIsLoggedOnSuccess) {
    epinfo msg;
    std::string bytes;
    EXPECT_TRUE(ProtoToString(msg, bytes));
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}
