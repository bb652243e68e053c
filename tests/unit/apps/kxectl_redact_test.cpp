#include "kxectl/redact.h"

#include <gtest/gtest.h>

using kxectl::RedactJson;
using kxectl::RedactLines;

namespace {

struct RedactRow {
    std::string text;
    std::string redacted;
    std::size_t places;
};

class Redact : public testing::TestWithParam<RedactRow> {};

}  // namespace

TEST_P(Redact, TakesSecretsOutOfLines) {
    const auto redacted = RedactLines(GetParam().text);
    EXPECT_EQ(redacted.text, GetParam().redacted);
    EXPECT_EQ(redacted.places, GetParam().places);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, Redact,
    testing::Values(RedactRow{"", "", 0},
                    RedactRow{"[config]\naddr=10.0.0.1\n", "[config]\naddr=10.0.0.1\n", 0},
                    RedactRow{"password=x\naddr=1", "passw (left out)\naddr=1", 1},
                    RedactRow{"; old PassWord: x y\n", "; old PassW (left out)\n", 1},
                    RedactRow{"api_key=x\r\nToken = y\rpwd z",
                              "api_key (left out)\r\nToken (left out)\rpwd (left out)", 3},
                    RedactRow{"secret token", "secret (left out)", 1},
                    RedactRow{"url=https://me:w@rd@host/x", "url=https://(left out)@host/x", 1},
                    RedactRow{"a://b c@d e://f@g", "a://b c@d e://(left out)@g", 1},
                    RedactRow{"a://f@g secret=1", "a://(left out)@g secret (left out)", 2},
                    RedactRow{"no newline", "no newline", 0}, RedactRow{"\n\n", "\n\n", 0}));

TEST(RedactedJson, HasNoValuesOfSecrets) {
    const auto redacted = RedactJson(R"({"version": {"plus": "1", "Token":
        ["a", "b"]}, "list": [{"password": "x"}, "https://u:p@h"], "n": 1})");
    ASSERT_TRUE(redacted);
    EXPECT_EQ(redacted->places, 3U);
    EXPECT_EQ(redacted->text,
              "{\n  \"version\": {\n    \"plus\": \"1\",\n    \"Token\": \"(left out)\"\n  },\n"
              "  \"list\": [\n    {\n      \"password\": \"(left out)\"\n    },\n"
              "    \"https://(left out)@h\"\n  ],\n  \"n\": 1\n}\n");
}

TEST(RedactedJson, IsNothingWhenItsSecretsCannotBeTold) {
    for (const char* const text : {"", "{", "\"password\"", "{\"a\": 1, \"a\": 2}"}) {
        EXPECT_FALSE(RedactJson(text)) << text;
    }
}
