#include "kxectl/decode_command.h"

#include <gtest/gtest.h>

#include "common/frame.h"
#include "epinfo.pb.h"

using bf_kxepinfo::epinfo;
using bf_kxepinfo::epinfo_msg_respone;
using kxectl::DecodeToJson;
using kxectl::MessageType;
using namespace std::string_view_literals;

namespace {

std::string Kind(const std::string& bytes, MessageType type = MessageType::kDetect) {
    std::string fault;
    const auto json = DecodeToJson(bytes, type, fault);
    if (!json) {
        return fault;
    }
    const std::size_t start = json->find("\"kind\": \"") + 9;
    return json->substr(start, json->find('"', start) - start);
}

epinfo Upload(unsigned cmd) {
    epinfo upload;
    upload.set_cmd(cmd);
    upload.set_agent_id(4711);
    upload.set_agent_timestamp(1700000000);
    if ((cmd & 2U) != 0) {
        upload.mutable_rc_info()->set_cpu_usage(5);
    }
    if ((cmd & 4U) != 0) {
        upload.mutable_sys_info()->mutable_base_info()->set_host_node("n");
    }
    if ((cmd & 8U) != 0) {
        upload.mutable_login_info()->add_usr_info()->set_login_name("root");
    }
    return upload;
}

epinfo_msg_respone Answer(unsigned status, unsigned cmd, const char* text) {
    epinfo_msg_respone answer;
    answer.set_status(status);
    answer.set_cmd_type(cmd);
    answer.set_res_msg(text);
    return answer;
}

}  // namespace

TEST(Decode, ShowsABareUpload) {
    std::string fault;
    EXPECT_EQ(DecodeToJson("\x08\x02\x10\x2A\x1A\x02\x08\x07"sv, MessageType::kDetect, fault),
              "{\n"
              "  \"kind\": \"epinfo\",\n"
              "  \"message\": {\n"
              "    \"cmd\": 2,\n"
              "    \"agent_id\": 42,\n"
              "    \"rc_info\": {\n"
              "      \"cpu_usage\": 7,\n"
              "      \"mem_total\": 0,\n"
              "      \"mem_usaged\": 0,\n"
              "      \"disk_read_speed\": 0,\n"
              "      \"disk_write_speed\": 0\n"
              "    },\n"
              "    \"agent_timestamp\": \"0\"\n"
              "  },\n"
              "  \"not_utf8\": []\n"
              "}\n");
}

TEST(Decode, ShowsAFramedAnswer) {
    std::string fault;
    EXPECT_EQ(DecodeToJson(kxapp::MakeFrame("\x08\x01\x10\x02"), MessageType::kDetect, fault),
              "{\n"
              "  \"kind\": \"epinfo_msg_respone\",\n"
              "  \"frame\": {\n"
              "    \"length\": 24,\n"
              "    \"payload_type\": 1,\n"
              "    \"payload_length\": 4\n"
              "  },\n"
              "  \"message\": {\n"
              "    \"status\": 1,\n"
              "    \"cmd_type\": 2,\n"
              "    \"res_msg\": \"\",\n"
              "    \"time_diff\": \"0\",\n"
              "    \"duplicate\": 0\n"
              "  },\n"
              "  \"not_utf8\": []\n"
              "}\n");
}

TEST(Decode, TellsUploadsByTheirSections) {
    for (const unsigned cmd : {2U, 4U, 6U, 8U, 10U, 12U, 14U}) {
        EXPECT_EQ(Kind(Upload(cmd).SerializeAsString()), "epinfo") << cmd;
    }
}

TEST(Decode, TellsAnswersByTheirFields) {
    for (const unsigned cmd : {2U, 4U, 6U, 8U, 10U, 12U, 14U}) {
        EXPECT_EQ(Kind(Answer(1, cmd, "").SerializeAsString()), "epinfo_msg_respone") << cmd;
        EXPECT_EQ(Kind(Answer(0, cmd, "refused").SerializeAsString()), "epinfo_msg_respone") << cmd;
    }
    epinfo_msg_respone answer = Answer(1, 2, "");
    answer.set_time_diff(-5);
    answer.set_duplicate(1);
    EXPECT_EQ(Kind(answer.SerializeAsString()), "epinfo_msg_respone");
}

TEST(Decode, TakesAnAnswerWithATextThatReadsAsASectionForAnAnswer) {
    // "\x08\x07" is a sound rc_info too, but this cmd does not name one.
    EXPECT_EQ(Kind(Answer(0, 2, "\x08\x07").SerializeAsString()), "epinfo_msg_respone");
    EXPECT_EQ(Kind(Answer(1, 2, "\x08\x07").SerializeAsString()), "epinfo_msg_respone");
}

TEST(Decode, TakesNoBytesForAnEmptyUpload) {
    EXPECT_EQ(Kind(""), "epinfo");
    EXPECT_EQ(Kind(kxapp::MakeFrame("")), "epinfo");
}

TEST(Decode, CanBeToldTheKind) {
    const std::string bytes = Answer(1, 2, "").SerializeAsString();
    EXPECT_EQ(Kind(bytes, MessageType::kUpload), "epinfo");
    EXPECT_EQ(Kind(bytes, MessageType::kAnswer), "epinfo_msg_respone");
}

TEST(Decode, RefusesWhatIsNeither) {
    EXPECT_EQ(Kind("\x08"), "1 bytes that are no such message");
    EXPECT_EQ(Kind("hello, world"), "12 bytes that are no such message");
}

TEST(Decode, RefusesAFrameWithAFault) {
    EXPECT_EQ(Kind("3200"), "frame of 4 bytes, shorter than its header of 20");
    EXPECT_EQ(Kind(kxapp::MakeFrame("\x08\x01", 2, 2)), "frame of payload type 2 instead of 1");
}

TEST(Decode, TellsRepairedStrings) {
    std::string fault;
    const auto json = DecodeToJson("\x10\x02\x1A\x01\xFC"sv, MessageType::kAnswer, fault);
    ASSERT_TRUE(json.has_value());
    EXPECT_EQ(json->substr(json->find("  \"not_utf8\"")),
              "  \"not_utf8\": [\n    \"res_msg\"\n  ]\n}\n");
}
