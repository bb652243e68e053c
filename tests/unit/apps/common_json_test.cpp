#include "common/json.h"

#include <gtest/gtest.h>

using kxapp::Json;
using namespace std::string_view_literals;

namespace {

std::string TextOf(std::string_view text) {
    Json object(json_object());
    kxapp::SetMember(object.get(), "t", kxapp::JsonString(text));
    return kxapp::ToText(object.get());
}

}  // namespace

TEST(JsonString, IsWrittenInAscii) {
    EXPECT_EQ(TextOf("a\"\\\xC3\xA4\x1B\xC2\x9B\n"),
              "{\"t\": \"a\\\"\\\\\\u00E4\\u001B\\u009B\\n\"}\n");
}

TEST(JsonString, KeepsZeroBytes) {
    EXPECT_EQ(TextOf("root\0\0"sv), "{\"t\": \"root\\u0000\\u0000\"}\n");
}

TEST(JsonString, EscapesWhatIsNotUtf8) {
    EXPECT_EQ(TextOf("r\xFCn"), "{\"t\": \"r\\\\xFCn\"}\n");
}

TEST(JsonText, KeepsTheOrderOfMembers) {
    Json object(json_object());
    kxapp::SetMember(object.get(), "z", Json(json_integer(1)));
    kxapp::SetMember(object.get(), "a", kxapp::JsonStrings({"x", "y"}));
    EXPECT_EQ(kxapp::ToText(object.get()), "{\"z\": 1, \"a\": [\"x\", \"y\"]}\n");
}

TEST(JsonText, MayBeIndented) {
    Json object(json_object());
    kxapp::SetMember(object.get(), "z", Json(json_integer(1)));
    EXPECT_EQ(kxapp::ToText(object.get(), 2), "{\n  \"z\": 1\n}\n");
}
