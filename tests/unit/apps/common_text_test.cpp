#include "common/text.h"

#include <gtest/gtest.h>

#include "common/number.h"

using kxapp::IsUtf8;
using kxapp::Printable;
using kxapp::RepairUtf8;
using kxapp::Shown;
using kxapp::Utf8Length;
using namespace std::string_view_literals;

TEST(Utf8Length, CountsTheBytesOfTheFirstCharacter) {
    EXPECT_EQ(Utf8Length("a"), 1U);
    EXPECT_EQ(Utf8Length("\0"sv), 1U);
    EXPECT_EQ(Utf8Length("\xC3\xA4x"), 2U);
    EXPECT_EQ(Utf8Length("\xE2\x82\xACx"), 3U);
    EXPECT_EQ(Utf8Length("\xF0\x9F\x98\x80x"), 4U);
}

TEST(Utf8Length, IsZeroForNothing) {
    EXPECT_EQ(Utf8Length(""), 0U);
}

TEST(Utf8Length, IsZeroForAContinuationByteAlone) {
    EXPECT_EQ(Utf8Length("\x80"), 0U);
    EXPECT_EQ(Utf8Length("\xBF"), 0U);
}

TEST(Utf8Length, IsZeroForASequenceThatIsCut) {
    EXPECT_EQ(Utf8Length("\xC3"), 0U);
    EXPECT_EQ(Utf8Length("\xE2\x82"), 0U);
    EXPECT_EQ(Utf8Length("\xF0\x9F\x98"), 0U);
    EXPECT_EQ(Utf8Length("\xE2\x28\xA1"), 0U);
}

TEST(Utf8Length, IsZeroForAnOverlongForm) {
    EXPECT_EQ(Utf8Length("\xC0\xAF"), 0U);
    EXPECT_EQ(Utf8Length("\xC1\xBF"), 0U);
    EXPECT_EQ(Utf8Length("\xE0\x9F\xBF"), 0U);
    EXPECT_EQ(Utf8Length("\xF0\x8F\xBF\xBF"), 0U);
}

TEST(Utf8Length, IsZeroForASurrogate) {
    EXPECT_EQ(Utf8Length("\xED\xA0\x80"), 0U);
    EXPECT_EQ(Utf8Length("\xED\xBF\xBF"), 0U);
    EXPECT_EQ(Utf8Length("\xED\x9F\xBF"), 3U);
    EXPECT_EQ(Utf8Length("\xEE\x80\x80"), 3U);
}

TEST(Utf8Length, EndsWithTheLastCodePoint) {
    EXPECT_EQ(Utf8Length("\xF4\x8F\xBF\xBF"), 4U);
    EXPECT_EQ(Utf8Length("\xF4\x90\x80\x80"), 0U);
    EXPECT_EQ(Utf8Length("\xF5\x80\x80\x80"), 0U);
    EXPECT_EQ(Utf8Length("\xFF"), 0U);
}

TEST(IsUtf8, LooksAtTheWholeText) {
    EXPECT_TRUE(IsUtf8(""));
    EXPECT_TRUE(IsUtf8("gr\xC3\xBC\xC3\x9F\0"sv));
    EXPECT_FALSE(IsUtf8("gr\xFC\xDF"));
}

TEST(RepairUtf8, LeavesUtf8AndControlCharactersAlone) {
    EXPECT_EQ(RepairUtf8("a\tb\n\0\xC3\xA4"sv), "a\tb\n\0\xC3\xA4"sv);
}

TEST(RepairUtf8, WritesEachWrongByteInHexadecimal) {
    EXPECT_EQ(RepairUtf8("gr\xFC\xDFx"), "gr\\xFC\\xDFx");
    EXPECT_EQ(RepairUtf8("\xE2\x82"), "\\xE2\\x82");
}

TEST(RepairUtf8, LeavesNoTwoTextsAlikeThatItRepairs) {
    EXPECT_EQ(RepairUtf8("a\\xFC"), "a\\xFC");
    EXPECT_EQ(RepairUtf8("a\\xFC\xFC"), "a\\x5CxFC\\xFC");
}

TEST(Printable, EscapesControlCharacters) {
    EXPECT_EQ(Printable("a\nb\x1B[31m\x7F\0"sv), "a\\x0Ab\\x1B[31m\\x7F\\x00");
}

TEST(Printable, EscapesControlCharactersThatAreTwoBytesLong) {
    EXPECT_EQ(Printable("\xC2\x9B"), "\\xC2\\x9B");
    EXPECT_EQ(Printable("\xC2\xA0"), "\xC2\xA0");
}

TEST(Printable, EscapesWhatBreaksOrReordersALine) {
    EXPECT_EQ(Printable("\xE2\x80\xA8"), "\\xE2\\x80\\xA8");
    EXPECT_EQ(Printable("\xE2\x80\xAE"), "\\xE2\\x80\\xAE");
    EXPECT_EQ(Printable("\xE2\x81\xA6"), "\\xE2\\x81\\xA6");
    EXPECT_EQ(Printable("\xE2\x80\x8F"), "\\xE2\\x80\\x8F");
    EXPECT_EQ(Printable("\xD8\x9C"), "\\xD8\\x9C");
}

TEST(Printable, LeavesOtherTextAlone) {
    EXPECT_EQ(Printable("C:\\x gr\xC3\xBC\xC3\x9F \xE4\xB8\xAD"),
              "C:\\x gr\xC3\xBC\xC3\x9F \xE4\xB8\xAD");
}

TEST(Shown, EndsAtTheFirstZeroByte) {
    EXPECT_EQ(Shown("root\0\0\0rest"sv), "root");
    EXPECT_EQ(Shown("\0\0"sv), "");
}

TEST(Shown, CutsLongText) {
    EXPECT_EQ(Shown("12345", 5), "12345");
    EXPECT_EQ(Shown("123456", 5), "12345...");
    EXPECT_EQ(Shown(std::string(97, 'x')), std::string(96, 'x') + "...");
}

TEST(Shown, CutsBetweenCharacters) {
    EXPECT_EQ(Shown("1234\xC3\xA4z", 5), "1234...");
    EXPECT_EQ(Shown("12\xF0\x9F\x98\x80z", 5), "12...");
    EXPECT_EQ(Shown("1234\xC3\xA4z", 6), "1234\xC3\xA4...");
}

TEST(Shown, CutsBytesThatAreNotUtf8Anywhere) {
    EXPECT_EQ(Shown("\x80\x80\x80\x80\x80\x80", 5), "\\x80\\x80...");
}

TEST(ReadNumber, ReadsAWholeDecimalNumber) {
    EXPECT_EQ(kxapp::ReadNumber("0"), 0U);
    EXPECT_EQ(kxapp::ReadNumber("18446744073709551615"), 18446744073709551615U);
}

TEST(ReadNumber, RefusesAnythingElse) {
    for (const char* text :
         {"", " 1", "1 ", "+1", "-1", "1x", "x", "0x1", "18446744073709551616"}) {
        EXPECT_EQ(kxapp::ReadNumber(text), std::nullopt) << text;
    }
}
