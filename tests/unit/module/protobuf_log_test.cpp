#include "module/protobuf_log.h"

#include <gmock/gmock.h>
#include <google/protobuf/stubs/logging.h>

#include <optional>
#include <thread>

#include "log_capture.h"
#include "msghandler/kxepproto.h"

using kxtest::LogLine;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

namespace {

// The runtime's own words.
constexpr char kComplaint[] =
    "String field 'bf_kxepinfo.epinfo_msg_usr.login_name' contains invalid UTF-8 data when "
    "serializing a protocol buffer. Use the 'bytes' type if you intend to send raw bytes. ";

std::vector<std::string> heard;

void Listen(google::protobuf::LogLevel /*level*/, const char* /*file*/, int /*line*/,
            const std::string& message) {
    heard.push_back(message);
}

// What a login name that is not UTF-8 makes the runtime say, as a login in another encoding would.
std::string EncodeBadName() {
    bf_kxepinfo::epinfo msg;
    AddUsrLogToProto({.login_time = "t", .login_name = "\xff", .login_ip = "i"}, msg);
    return msg.SerializeAsString();
}

class RuntimeLog : public ::testing::Test {
  protected:
    void SetUp() override {
        heard.clear();
        kxtest::ClearLog();
        m_before = google::protobuf::SetLogHandler(Listen);
        google::protobuf::SetLogHandler(m_before);
    }
    void TearDown() override { google::protobuf::SetLogHandler(m_before); }

  private:
    google::protobuf::LogHandler* m_before = nullptr;
};

}  // namespace

TEST_F(RuntimeLog, WithoutItTheRuntimeWritesToStandardError) {
    CaptureStderr();
    EncodeBadName();
    EXPECT_THAT(GetCapturedStderr(), HasSubstr(kComplaint));
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(RuntimeLog, OnTheWorkerItGoesToTheModulesLog) {
    const ProtobufLog log;
    CaptureStderr();
    EncodeBadName();
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_THAT(kxtest::LoggedLines(), ElementsAre(LogLine{2, "kxepproto", kComplaint}));
}

TEST_F(RuntimeLog, TheMessageIsEncodedAllTheSame) {
    const ProtobufLog log;
    EXPECT_EQ(EncodeBadName(), "\x08\x08\x2a\x0b\x0a\x09\x0a\x01t\x12\x01\xff\x1a\x01i");
}

TEST_F(RuntimeLog, AnAnswerThatIsNotUtf8IsRefusedAndLogged) {
    const ProtobufLog log;
    bf_kxepinfo::epinfo_msg_respone msg;
    CaptureStderr();
    EXPECT_FALSE(ParseRespMsgFromStr("\x1a\x01\xff", msg));
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_THAT(kxtest::LoggedLines(),
                ElementsAre(LogLine{2, "kxepproto",
                                    "String field contains invalid UTF-8 data when parsing a "
                                    "protocol buffer. Use the 'bytes' "
                                    "type if you intend to send raw bytes. "}));
}

TEST_F(RuntimeLog, OtherThreadsAreHeardByTheHandlerBefore) {
    google::protobuf::SetLogHandler(Listen);
    const ProtobufLog log;
    std::thread(EncodeBadName).join();
    EXPECT_THAT(heard, ElementsAre(kComplaint));
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(RuntimeLog, OtherThreadsStaySilentWhenTheHostWantsSilence) {
    google::protobuf::SetLogHandler(nullptr);
    const ProtobufLog log;
    CaptureStderr();
    std::thread(EncodeBadName).join();
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(RuntimeLog, TheHandlerBeforeIsPutBack) {
    google::protobuf::SetLogHandler(Listen);
    { const ProtobufLog log; }
    EncodeBadName();
    EXPECT_THAT(heard, ElementsAre(kComplaint));
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(RuntimeLog, SilenceIsPutBack) {
    google::protobuf::SetLogHandler(nullptr);
    { const ProtobufLog log; }
    CaptureStderr();
    EncodeBadName();
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(RuntimeLog, AHandlerSetInBetweenIsKept) {
    std::optional<ProtobufLog> log;
    log.emplace();
    google::protobuf::SetLogHandler(Listen);
    log.reset();
    EncodeBadName();
    EXPECT_THAT(heard, ElementsAre(kComplaint));
}

TEST_F(RuntimeLog, ADisabledLevelIsNotLoggedNorPrinted) {
    kxtest::EnableLogLevels(1);
    const ProtobufLog log;
    CaptureStderr();
    EncodeBadName();
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
