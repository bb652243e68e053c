#include "event_line.h"

#include <gtest/gtest.h>
#include <jansson.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

constexpr timespec kTime{1714979289, 123999999};
const std::string kBegin =
    R"({"time":"2024-05-06T07:08:09.123Z","module":"kxepinfo","event":"NewIPBPTrace","product":"EDR",)"
    R"("version":"3.7.2.20","host_id":"1234567890")";

kxe_bp_header Header() {
    kxe_bp_header header{};
    std::strcpy(header.module, "kxepinfo");
    std::strcpy(header.event, "NewIPBPTrace");
    std::strcpy(header.product, "EDR");
    std::strcpy(header.version, "3.7.2.20");
    std::strcpy(header.host_id, "1234567890");
    return header;
}

std::string Line(std::string_view text) {
    return bpsdk::TraceLine(kTime, Header(), text);
}

// One member of a line, read by a JSON library; empty when there is no such string.
std::string Member(const std::string& line, const char* name) {
    const std::unique_ptr<json_t, void (*)(json_t*)> document(
        json_loads(line.c_str(), 0, nullptr), [](json_t* json) { json_decref(json); });
    const char* const text = json_string_value(json_object_get(document.get(), name));
    return text == nullptr ? "" : text;
}

}  // namespace

TEST(Header, IsThatOfEveryCaller) {
    EXPECT_EQ(sizeof(kxe_bp_header), 212U);
    EXPECT_EQ(offsetof(kxe_bp_header, event), 32U);
    EXPECT_EQ(offsetof(kxe_bp_header, product), 96U);
    EXPECT_EQ(offsetof(kxe_bp_header, version), 112U);
    EXPECT_EQ(offsetof(kxe_bp_header, host_id), 128U);
    EXPECT_EQ(offsetof(kxe_bp_header, reserved), 144U);
}

TEST(FormatTime, IsUtcWithMilliseconds) {
    EXPECT_EQ(bpsdk::FormatTime({0, 0}), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(bpsdk::FormatTime({4102444799, 999999999}), "2099-12-31T23:59:59.999Z");
}

TEST(TraceLine, PutsJsonIntoTheBody) {
    EXPECT_EQ(Line(R"({"type": 601, "ip": ["10.0.0.2"]})"),
              kBegin + R"(,"body":{"type": 601, "ip": ["10.0.0.2"]}})" + '\n');
}

TEST(TraceLine, PutsOtherTextIntoTheMessage) {
    EXPECT_EQ(Line("address \"eth0\" gone"),
              kBegin + R"(,"message":"address \"eth0\" gone"})" + '\n');
}

TEST(TraceLine, KeepsAnEmptyMessage) {
    EXPECT_EQ(Line(""), kBegin + R"(,"message":""})" + '\n');
}

TEST(TraceLine, StaysOneLineForJsonOnSeveral) {
    EXPECT_EQ(Line("{\r\n\t\"a\": 1\n}\n"), kBegin + ",\"body\":{  \t\"a\": 1 } }\n");
}

TEST(TraceLine, StaysOneLineForTextOnSeveral) {
    EXPECT_EQ(Line("a\nb\r\n"), kBegin + R"(,"message":"a\nb\r\n"})" + '\n');
}

TEST(TraceLine, ReplacesBytesThatAreNoText) {
    EXPECT_EQ(Line("caf\xE9"), kBegin + ",\"message\":\"caf\uFFFD\"}\n");
    EXPECT_EQ(Line("\"caf\xE9\""), kBegin + ",\"message\":\"\\\"caf\uFFFD\\\"\"}\n");
}

TEST(TraceLine, ReadsFieldsWithoutAZeroByte) {
    kxe_bp_header header{};
    std::memset(&header, 'x', sizeof header);
    EXPECT_EQ(bpsdk::TraceLine(kTime, header, "1"),
              R"({"time":"2024-05-06T07:08:09.123Z","module":")" + std::string(32, 'x') +
                  R"(","event":")" + std::string(64, 'x') + R"(","product":")" +
                  std::string(16, 'x') + R"(","version":")" + std::string(16, 'x') +
                  R"(","host_id":")" + std::string(16, 'x') + R"(","body":1})" + '\n');
}

TEST(TraceLine, AFieldCannotForgeAMember) {
    kxe_bp_header header = Header();
    std::strcpy(header.product, "\",\"x\":\"\n");
    const std::string line = bpsdk::TraceLine(kTime, header, "text");
    EXPECT_EQ(Member(line, "product"), "\",\"x\":\"\n");
    EXPECT_EQ(Member(line, "x"), "");
}

TEST(TraceLine, KeepsTheLongestText) {
    EXPECT_EQ(Line(std::string(KXE_BP_MAX_TEXT, 'x')),
              kBegin + R"(,"message":")" + std::string(KXE_BP_MAX_TEXT, 'x') + "\"}\n");
}

TEST(TraceLine, CutsLongerTextAndSaysSo) {
    EXPECT_EQ(Line(std::string(KXE_BP_MAX_TEXT + 1, 'x')), kBegin + R"(,"message":")" +
                                                               std::string(KXE_BP_MAX_TEXT, 'x') +
                                                               R"(","truncated":true})" + '\n');
}

TEST(TraceLine, TakesLongerJsonForText) {
    const std::string json = std::string(KXE_BP_MAX_TEXT, ' ') + "1";
    EXPECT_EQ(Line(json), kBegin + R"(,"message":")" + std::string(KXE_BP_MAX_TEXT, ' ') +
                              R"(","truncated":true})" + '\n');
}

TEST(TraceLine, IsReadByAJsonLibrary) {
    EXPECT_EQ(Member(Line("tab\t, \x01, quote \", \xFF and \u4e2d"), "message"),
              "tab\t, \x01, quote \", \uFFFD and \u4e2d");
}

TEST(OtherLine, CarriesCodeAndData) {
    EXPECT_EQ(bpsdk::OtherLine(kTime, -7, std::string("\0\xFFz", 3)),
              "{\"time\":\"2024-05-06T07:08:09.123Z\",\"code\":-7,\"data\":\"00ff7a\"}\n");
}

TEST(OtherLine, CutsLongerDataAndSaysSo) {
    std::string digits;
    for (unsigned i = 0; i < KXE_BP_MAX_TEXT; ++i) {
        digits += "61";
    }
    EXPECT_EQ(bpsdk::OtherLine(kTime, 1, std::string(KXE_BP_MAX_TEXT + 1, 'a')),
              "{\"time\":\"2024-05-06T07:08:09.123Z\",\"code\":1,\"data\":\"" + digits +
                  "\",\"truncated\":true}\n");
}
