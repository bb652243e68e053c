// The text of one line.
#include "line.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

extern "C" int HeaderWorksInC(void);

namespace {

using autolog::kMostText;
using autolog::OneLine;

std::string Line(std::string_view text) {
    return OneLine(text, false);
}

const std::string kCut = "...[cut]";

}  // namespace

TEST(Header, WorksInC) {
    EXPECT_EQ(HeaderWorksInC(), EINVAL);
}

TEST(OneLine, OrdinaryTextStaysAsItIs) {
    EXPECT_EQ(Line("Failed to get key:%s with errno: 2 \\n \"x\""),
              "Failed to get key:%s with errno: 2 \\n \"x\"");
    EXPECT_EQ(Line(""), "");
}

TEST(OneLine, OneTrailingNewlineIsDropped) {
    EXPECT_EQ(Line("text\n"), "text");
    EXPECT_EQ(Line("\n"), "");
    EXPECT_EQ(Line("text\n\n"), "text\\x0A");
}

TEST(OneLine, ControlCharactersAreWrittenInHexadecimal) {
    EXPECT_EQ(Line("a\nb\rc\td\x1B[31me\x7F"), "a\\x0Ab\\x0Dc\\x09d\\x1B[31me\\x7F");
    EXPECT_EQ(Line(std::string_view("\0\x01\x1F ", 4)), "\\x00\\x01\\x1F ");
}

TEST(OneLine, TheSecondSetOfControlCharactersToo) {
    EXPECT_EQ(Line("\u0080\u0085\u009F\u00A0"), "\\xC2\\x80\\xC2\\x85\\xC2\\x9F\u00A0");
}

TEST(OneLine, LineSeparatorsOfUnicodeToo) {
    EXPECT_EQ(Line("a\u2028b\u2029c\u202A"), "a\\xE2\\x80\\xA8b\\xE2\\x80\\xA9c\u202A");
}

TEST(OneLine, OtherCharactersStay) {
    EXPECT_EQ(Line("\u00E4\u00F6\u00FC \u4E2D\u6587 \U0001F600"),
              "\u00E4\u00F6\u00FC \u4E2D\u6587 \U0001F600");
}

TEST(OneLine, BytesThatAreNotUtf8AreWrittenInHexadecimal) {
    EXPECT_EQ(Line("\xFF\x80"), "\\xFF\\x80");
    EXPECT_EQ(Line("\xC3"), "\\xC3");                             // ends too early
    EXPECT_EQ(Line("\xE4\xB8x"), "\\xE4\\xB8x");                  // a byte is missing
    EXPECT_EQ(Line("\xC0\x8A"), "\\xC0\\x8A");                    // a newline in two bytes
    EXPECT_EQ(Line("\xE0\x80\x8A"), "\\xE0\\x80\\x8A");           // in three
    EXPECT_EQ(Line("\xF0\x80\x80\x8A"), "\\xF0\\x80\\x80\\x8A");  // in four
    EXPECT_EQ(Line("\xED\xA0\x80"), "\\xED\\xA0\\x80");           // half of a surrogate pair
    EXPECT_EQ(Line("\xF4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80");  // behind the last character
}

TEST(OneLine, ATextOfTheMostBytesIsWhole) {
    EXPECT_EQ(Line(std::string(kMostText, 'x')), std::string(kMostText, 'x'));
    EXPECT_EQ(Line(std::string(kMostText, 'x') + "\n"), std::string(kMostText, 'x'));
}

TEST(OneLine, ALongerTextIsCutAndMarked) {
    EXPECT_EQ(Line(std::string(kMostText + 1, 'x')), std::string(kMostText - 8, 'x') + kCut);
    EXPECT_EQ(Line(std::string(10 * kMostText, 'x')), std::string(kMostText - 8, 'x') + kCut);
}

TEST(OneLine, HexadecimalDigitsCountForTheLength) {
    std::string cut;
    for (std::size_t i = 0; i < (kMostText - 8) / 4; ++i) {
        cut += "\\x07";
    }
    EXPECT_EQ(Line(std::string(kMostText, '\a')), cut + kCut);
}

TEST(OneLine, NoCharacterIsCutInTheMiddle) {
    const std::string text = std::string(kMostText - 9, 'x') + "\u4E2D" + std::string(20, 'y');
    EXPECT_EQ(Line(text), std::string(kMostText - 9, 'x') + kCut);
}

TEST(OneLine, TheBeginningOfALongerTextIsMarked) {
    EXPECT_EQ(OneLine("text", true), "text" + kCut);
    EXPECT_EQ(OneLine("text\n", true), "text\\x0A" + kCut);
    EXPECT_EQ(OneLine(std::string(kMostText, 'x'), true), std::string(kMostText - 8, 'x') + kCut);
}
