#include "common/json_line.h"

#include <gmock/gmock.h>

#include "common/text.h"
#include "kxemgr/answer.h"

namespace {

kxapp::Upload ResourceUpload() {
    kxapp::Upload upload;
    upload.received = {1700000000, 7'000'000};
    upload.from = "agt_ei";
    upload.request_id = 3;
    upload.frame_bytes = 24;
    upload.message.set_cmd(2);
    upload.message.set_agent_timestamp(1700000001);
    return upload;
}

constexpr char kAnswer[] =
    "\"answer\": {\"status\": 1, \"cmd_type\": 2, \"res_msg\": \"\", \"time_diff\": \"-1\", "
    "\"duplicate\": 0}}\n";

}  // namespace

TEST(JsonLine, HoldsReceiptFrameMessageAndAnswer) {
    const kxapp::Upload upload = ResourceUpload();
    EXPECT_EQ(kxapp::JsonLine(upload, "", kxemgr::Accept(upload.message, 1700000000)),
              std::string("{\"received\": \"2023-11-14T22:13:20.007Z\", \"from\": \"agt_ei\", "
                          "\"request_id\": 3, \"frame\": {\"length\": 24, \"payload_type\": 1, "
                          "\"payload_length\": 4}, \"epinfo\": {\"cmd\": 2, \"agent_id\": 0, "
                          "\"agent_timestamp\": \"1700000001\"}, \"not_utf8\": [], "
                          "\"fault\": null, ") +
                  kAnswer);
}

TEST(JsonLine, NamesTheFaultAndTheRepairedStrings) {
    kxapp::Upload upload = ResourceUpload();
    upload.not_utf8 = {"login_info.usr_info[0].login_name"};
    EXPECT_EQ(kxapp::JsonLine(upload, "silent", kxemgr::Accept(upload.message, 1700000000)),
              std::string("{\"received\": \"2023-11-14T22:13:20.007Z\", \"from\": \"agt_ei\", "
                          "\"request_id\": 3, \"frame\": {\"length\": 24, \"payload_type\": 1, "
                          "\"payload_length\": 4}, \"epinfo\": {\"cmd\": 2, \"agent_id\": 0, "
                          "\"agent_timestamp\": \"1700000001\"}, "
                          "\"not_utf8\": [\"login_info.usr_info[0].login_name\"], "
                          "\"fault\": \"silent\", ") +
                  kAnswer);
}

TEST(JsonLine, IsExactToTheByte) {
    kxapp::Upload upload = ResourceUpload();
    auto& login = *upload.message.mutable_login_info()->add_usr_info();
    login.set_login_name(kxapp::RepairUtf8(std::string("a\\xFC\xFC\0\0", 8)));
    login.set_login_ip(std::string("h\\\0", 3));
    EXPECT_THAT(kxapp::JsonLine(upload, "", {}),
                testing::HasSubstr("\"login_name\": \"a\\\\x5CxFC\\\\xFC\\u0000\\u0000\", "
                                   "\"login_ip\": \"h\\\\\\u0000\""));
}
