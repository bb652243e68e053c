#include "text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using namespace std::string_view_literals;

namespace {

std::string String(std::string_view text) {
    std::string line;
    bpsdk::AppendString(line, text);
    return line;
}

}  // namespace

TEST(CharacterLength, OfEachLength) {
    EXPECT_EQ(bpsdk::CharacterLength("a"), 1U);
    EXPECT_EQ(bpsdk::CharacterLength("\0"sv), 1U);
    EXPECT_EQ(bpsdk::CharacterLength("\u00e9x"), 2U);
    EXPECT_EQ(bpsdk::CharacterLength("\u4e2dx"), 3U);
    EXPECT_EQ(bpsdk::CharacterLength("\U0001F600x"), 4U);
}

TEST(CharacterLength, FirstAndLastOfEachLength) {
    EXPECT_EQ(bpsdk::CharacterLength("\x7F"), 1U);
    EXPECT_EQ(bpsdk::CharacterLength("\xC2\x80"), 2U);
    EXPECT_EQ(bpsdk::CharacterLength("\xDF\xBF"), 2U);
    EXPECT_EQ(bpsdk::CharacterLength("\xE0\xA0\x80"), 3U);
    EXPECT_EQ(bpsdk::CharacterLength("\xED\x9F\xBF"), 3U);
    EXPECT_EQ(bpsdk::CharacterLength("\xEE\x80\x80"), 3U);
    EXPECT_EQ(bpsdk::CharacterLength("\xEF\xBF\xBF"), 3U);
    EXPECT_EQ(bpsdk::CharacterLength("\xF0\x90\x80\x80"), 4U);
    EXPECT_EQ(bpsdk::CharacterLength("\xF4\x8F\xBF\xBF"), 4U);
}

TEST(CharacterLength, ZeroForWhatIsNoCharacter) {
    EXPECT_EQ(bpsdk::CharacterLength(""), 0U);
    for (const char* bytes :
         {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80",
          "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF"}) {
        EXPECT_EQ(bpsdk::CharacterLength(bytes), 0U) << testing::PrintToString(bytes);
    }
}

TEST(CharacterLength, ZeroForACharacterCutShort) {
    for (const char* bytes : {"\xC3", "\xE4\xB8", "\xE4", "\xF0\x9F\x98", "\xC3x", "\xE4\xB8x"}) {
        EXPECT_EQ(bpsdk::CharacterLength(bytes), 0U) << testing::PrintToString(bytes);
    }
}

TEST(AppendString, QuotesPlainText) {
    EXPECT_EQ(String("ip change"), "\"ip change\"");
    EXPECT_EQ(String(""), "\"\"");
}

TEST(AppendString, EscapesQuoteAndBackslash) {
    EXPECT_EQ(String("a\"b\\c"), R"("a\"b\\c")");
}

TEST(AppendString, EscapesControlCharacters) {
    EXPECT_EQ(String("\n\r\t\0\x01\x1B\x1F\x7F"sv), R"("\n\r\t\u0000\u0001\u001b\u001f\u007f")");
}

TEST(AppendString, KeepsCharactersBeyondAscii) {
    EXPECT_EQ(String("\u00e9\u4e2d\U0001F600"), "\"\u00e9\u4e2d\U0001F600\"");
}

TEST(AppendString, ReplacesEachByteThatIsNoCharacter) {
    EXPECT_EQ(String("a\xFF\xC3z\xE4\xB8"), "\"a\uFFFD\uFFFDz\uFFFD\uFFFD\"");
}

TEST(AppendHex, TwoDigitsAByte) {
    std::string line;
    bpsdk::AppendHex(line, "\x00\x7F\xA5\xFF"sv);
    EXPECT_EQ(line, "\"007fa5ff\"");
}

TEST(Shorten, LeavesShortTextAlone) {
    EXPECT_EQ(bpsdk::Shorten("abc", 3), "abc");
}

TEST(Shorten, CutsBetweenCharacters) {
    EXPECT_EQ(bpsdk::Shorten("abcd", 3), "abc");
    EXPECT_EQ(bpsdk::Shorten("abc\u00e9", 4), "abc");
    EXPECT_EQ(bpsdk::Shorten("ab\u00e9d", 4), "ab\u00e9");
    EXPECT_EQ(bpsdk::Shorten("a\u4e2d", 3), "a");
    EXPECT_EQ(bpsdk::Shorten("a\U0001F600", 4), "a");
    EXPECT_EQ(bpsdk::Shorten("\U0001F600", 3), "");
}

TEST(Shorten, CutsAnywhereInWhatIsNoText) {
    EXPECT_EQ(bpsdk::Shorten("\x80\x80\x80\x80\x80\x80", 5), "\x80\x80\x80\x80\x80");
}
