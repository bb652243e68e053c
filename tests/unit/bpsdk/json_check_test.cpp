#include "json_check.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using bpsdk::IsJson;
using namespace std::string_view_literals;

TEST(IsJson, AcceptsEveryKindOfValue) {
    for (const char* text : {"{}", "[]", "\"\"", "0", "true", "false", "null"}) {
        EXPECT_TRUE(IsJson(text)) << text;
    }
}

TEST(IsJson, AcceptsAnEventBody) {
    EXPECT_TRUE(IsJson(R"({"type": 601, "ip": ["10.0.0.10", "10.0.0.2"]})"));
}

TEST(IsJson, AcceptsBlanksEverywhere) {
    EXPECT_TRUE(IsJson(" \t\r\n{ \"a\" : [ 1 , { } , [ ] ] , \"b\" : \"\" } \n"));
}

TEST(IsJson, AcceptsNumbers) {
    for (const char* text : {"-0", "1", "-12", "0.5", "10.25", "1e5", "1E-5", "0e+10", "1.5e300",
                             "123456789012345678901234567890"}) {
        EXPECT_TRUE(IsJson(text)) << text;
    }
}

TEST(IsJson, RefusesWhatIsAlmostANumber) {
    for (const char* text :
         {"-", "+1", "01", "-01", "1.", ".5", "1e", "1e+", "0x10", "1 2", "NaN"}) {
        EXPECT_FALSE(IsJson(text)) << text;
    }
}

TEST(IsJson, AcceptsEscapes) {
    EXPECT_TRUE(IsJson(R"("\"\\\/\b\f\n\r\t\u00e9\uABCD")"));
}

TEST(IsJson, RefusesBadStrings) {
    for (const char* text :
         {"\"", "\"a", "\"\\x\"", "\"\\u12\"", "\"\\u12g4\"", "\"\\", "\"\\u", "\"a\nb\"",
          "\"\x01\"", "\"\xFF\"", "\"\xC3\"", "'a'", "\"\xED\xA0\x80\""}) {
        EXPECT_FALSE(IsJson(text)) << testing::PrintToString(text);
    }
    EXPECT_FALSE(IsJson("\"\0\""sv));
}

TEST(IsJson, RefusesBadStructure) {
    for (const char* text :
         {"",         " ",          "{",   "}",     "[",      "]",         "{]",
          "[}",       "[1",         "[1,", "[1,]",  "[,1]",   "[1 2]",     "{\"a\"}",
          "{\"a\":}", "{\"a\":1,}", "{,}", "{a:1}", "{1:2}",  "{\"a\" 1}", "{\"a\":1 \"b\":2}",
          "{}{}",     "[] x",       "tru", "nul",   "falsey", "True",      "// x\n1"}) {
        EXPECT_FALSE(IsJson(text)) << text;
    }
}

TEST(IsJson, CountsTheDepth) {
    const std::string open(bpsdk::kDeepestJson, '[');
    const std::string close(bpsdk::kDeepestJson, ']');
    EXPECT_TRUE(IsJson(open + close));
    EXPECT_FALSE(IsJson('[' + open + close + ']'));
    EXPECT_FALSE(IsJson("{\"a\":" + open + close + '}'));
}

TEST(IsJson, TakesNoMoreStackForADeeperText) {
    constexpr std::size_t kDepth = 1000000;
    EXPECT_FALSE(IsJson(std::string(kDepth, '[')));
    std::string objects;
    for (std::size_t i = 0; i < kDepth; ++i) {
        objects += "{\"a\":";
    }
    EXPECT_FALSE(IsJson(objects));
}
