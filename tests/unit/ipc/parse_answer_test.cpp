#include <new>
#include <string>

#include "answer_frames.h"
#include "common/state.h"
#include "ipc/response.h"
#include "ipc_fixture.h"

using namespace std::string_literals;
using kxtest::Accepted;
using kxtest::Frame;
using kxtest::LoggedLines;
using kxtest::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

bool mapping_fails = false;
bool memory_is_short = false;

// What an answer is parsed into when the parser leaves it alone.
_mgrRespondMsg Untouched() {
    return {.status = 91, .cmd_type = 92, .res_msg = "93", .time_diff = 94, .duplicate = 95};
}

bool IsUntouched(const _mgrRespondMsg& answer) {
    return answer.status == 91 && answer.cmd_type == 92 && answer.res_msg == "93" &&
           answer.time_diff == 94 && answer.duplicate == 95;
}

class ParseAnswer : public kxtest::IpcTest {
  protected:
    void TearDown() override {
        mapping_fails = false;
        memory_is_short = false;
        IpcTest::TearDown();
    }

    int Parse(std::string frame) { return ParseIpcMsg(frame.data(), kxtest::Size(frame), answer); }

    _mgrRespondMsg answer = Untouched();
};

}  // namespace

// In front of the mapping, by the linker's --wrap: it never fails of itself, but the parser has to
// be ready for one that does.
bool RealGetResponFromProto(const bf_kxepinfo::epinfo_msg_respone& msg, _mgrRespondMsg& out) asm(
    "__real__Z18GetResponFromProtoRKN11bf_kxepinfo18epinfo_msg_responeER14_mgrRespondMsg");
bool WrapGetResponFromProto(const bf_kxepinfo::epinfo_msg_respone& msg, _mgrRespondMsg& out) asm(
    "__wrap__Z18GetResponFromProtoRKN11bf_kxepinfo18epinfo_msg_responeER14_mgrRespondMsg");
bool WrapGetResponFromProto(const bf_kxepinfo::epinfo_msg_respone& msg, _mgrRespondMsg& out) {
    if (memory_is_short) {
        throw std::bad_alloc();
    }
    return !mapping_fails && RealGetResponFromProto(msg, out);
}

TEST_F(ParseAnswer, GivesTheFiveFields) {
    bf_kxepinfo::epinfo_msg_respone message;
    message.set_status(1);
    message.set_cmd_type(14);
    message.set_res_msg("text");
    message.set_time_diff(-5);
    message.set_duplicate(3);
    EXPECT_EQ(Parse(Frame(message)), 0);
    EXPECT_EQ(answer.status, 1U);
    EXPECT_EQ(answer.cmd_type, 14U);
    EXPECT_EQ(answer.res_msg, "text");
    EXPECT_EQ(answer.time_diff, -5);
    EXPECT_EQ(answer.duplicate, 3U);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(ParseAnswer, OfABareHeaderIsAnEmptyMessage) {
    EXPECT_EQ(Parse(Frame("")), 0);
    EXPECT_EQ(answer.status, 0U);
    EXPECT_EQ(answer.res_msg, "");
}

TEST_F(ParseAnswer, RefusesNineteenBytes) {
    EXPECT_EQ(Parse(Frame("").substr(0, 19)), -1);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo", "msg check failed, lenth is 19"}));
    EXPECT_TRUE(IsUntouched(answer));
}

TEST_F(ParseAnswer, AcceptsTenMebibytes) {
    auto message = Accepted();
    message.set_res_msg(std::string(10485740 - 9, 'x'));
    const std::string frame = Frame(message);
    ASSERT_EQ(frame.size(), 10485760U);
    EXPECT_EQ(Parse(frame), 0);
    EXPECT_EQ(answer.res_msg.size(), 10485731U);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(ParseAnswer, RefusesOneByteMore) {
    std::string frame = Frame(Accepted());
    frame.resize(10485761);
    EXPECT_EQ(Parse(frame), -1);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo", "msg check failed, lenth is 10485761"}));
    EXPECT_TRUE(IsUntouched(answer));
}

TEST_F(ParseAnswer, RefusesAFrameThatIsShorterThanItsHeaderSays) {
    EXPECT_EQ(Parse(Frame(std::string(90, '\0'), 100)), -1);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo",
                                    "parse mgr response fail, message size not match, header "
                                    "size=20, msg size=100, receive size=110\n"}));
    EXPECT_TRUE(IsUntouched(answer));
}

TEST_F(ParseAnswer, RefusesTheGreatestLengthWithoutWrappingAround) {
    EXPECT_EQ(Parse(Frame("", 0xFFFFFFFF)), -1);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo",
                                    "parse mgr response fail, message size not match, header "
                                    "size=20, msg size=4294967295, receive size=20\n"}));
}

// With the header's 20 bytes these lengths are 0 and 10 in 32 bits.
TEST_F(ParseAnswer, RefusesLengthsThatWouldWrapAround) {
    EXPECT_EQ(Parse(Frame("", 0xFFFFFFEC)), -1);
    EXPECT_EQ(Parse(Frame(Accepted().SerializeAsString(), 0xFFFFFFF6)), -1);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo",
                                    "parse mgr response fail, message size not match, header "
                                    "size=20, msg size=4294967276, receive size=20\n"},
                            LogLine{2, "kxepinfo",
                                    "parse mgr response fail, message size not match, header "
                                    "size=20, msg size=4294967286, receive size=24\n"}));
    EXPECT_TRUE(IsUntouched(answer));
}

TEST_F(ParseAnswer, RefusesOneByteLessThanItsHeaderSays) {
    const std::string payload = Accepted().SerializeAsString();
    EXPECT_EQ(Parse(Frame(payload, kxtest::Size(payload) + 1)), -1);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo",
                                    "parse mgr response fail, message size not match, header "
                                    "size=20, msg size=5, receive size=24\n"}));
}

TEST_F(ParseAnswer, IgnoresBytesBehindThePayload) {
    const std::string payload = Accepted().SerializeAsString();
    EXPECT_EQ(
        Parse(Frame(payload + "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", kxtest::Size(payload))),
        0);
    EXPECT_EQ(answer.status, 1U);
    EXPECT_EQ(answer.cmd_type, 6U);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(ParseAnswer, RefusesAnotherPayloadType) {
    EXPECT_EQ(Parse(Frame(std::string(), 0, 2)), -1);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo", "ParseIpcMsg,not support type:2"}));
    EXPECT_TRUE(IsUntouched(answer));
}

TEST_F(ParseAnswer, ShowsAnotherPayloadTypeInHexadecimal) {
    EXPECT_EQ(Parse(Frame(std::string(), 0, 0xABCD)), -1);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo", "ParseIpcMsg,not support type:abcd"}));
}

TEST_F(ParseAnswer, LooksAtTheLengthBeforeTheType) {
    EXPECT_EQ(Parse(Frame(std::string(), 1, 2)), -1);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo",
                                    "parse mgr response fail, message size not match, header "
                                    "size=20, msg size=1, receive size=20\n"}));
}

TEST_F(ParseAnswer, ChecksNeitherMagicNorReservedFields) {
    std::string frame = Frame(Accepted());
    frame.replace(0, 8, "abcdefgh");
    frame.replace(10, 6, "......");
    EXPECT_EQ(Parse(frame), 0);
    EXPECT_EQ(answer.cmd_type, 6U);
}

TEST_F(ParseAnswer, NeedsNoAlignment) {
    for (std::size_t offset = 1; offset < 8; ++offset) {
        std::string bytes = std::string(offset, '-') + Frame(Accepted());
        answer = Untouched();
        EXPECT_EQ(
            ParseIpcMsg(bytes.data() + offset, kxtest::Size(bytes) - unsigned(offset), answer), 0)
            << offset;
        EXPECT_EQ(answer.cmd_type, 6U) << offset;
    }
}

// The header's numbers are turned in the caller's buffer; the host is little-endian.
TEST_F(ParseAnswer, ChangesTheHeaderInTheCallersBuffer) {
    std::string frame = "ABCD\1\2\3\4\0\1abcdef\0\0\0\2\x10\6"s;
    EXPECT_EQ(ParseIpcMsg(frame.data(), kxtest::Size(frame), answer), 0);
    EXPECT_EQ(frame, "ABCD\2\1\4\3\1\0abcdef\2\0\0\0\x10\6"s);
}

TEST_F(ParseAnswer, RefusesAPayloadThatIsNoMessage) {
    EXPECT_EQ(Parse(Frame("\xFF\xFF\xFF")), -1);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo", "parse reponse msg from protobuf failed\n"}));
    EXPECT_TRUE(IsUntouched(answer));
}

TEST_F(ParseAnswer, FailsWhenTheMessageCannotBeMapped) {
    mapping_fails = true;
    EXPECT_EQ(Parse(Frame(Accepted())), -1);
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(LogLine{2, "kxepinfo", "parse kxepinfo respond msg from protobuf failed\n"}));
    EXPECT_TRUE(IsUntouched(answer));
}

TEST_F(ParseAnswer, FailsTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(0);
    EXPECT_EQ(Parse(""), -1);
    EXPECT_EQ(Parse(Frame("", 1)), -1);
    EXPECT_EQ(Parse(Frame(std::string(), 0, 2)), -1);
    EXPECT_EQ(Parse(Frame("\xFF\xFF\xFF")), -1);
    EXPECT_EQ(kxtest::LogCalls(), 0);
}

TEST_F(ParseAnswer, WithoutMemoryForItCountsAsAFailure) {
    memory_is_short = true;
    std::string frame = Frame(Accepted());
    IpcOnResponse(0, 0, frame.data(), kxtest::Size(frame), nullptr);
    EXPECT_EQ(Attempt_Times, 1U);
    EXPECT_EQ(kxtest::LoggedLinesUpTo(2),
              (std::vector<LogLine>{
                  {1, "kxepinfo", "the manager's answer ended early: std::bad_alloc"}}));
}
