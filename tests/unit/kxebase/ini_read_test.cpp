// What a file says.
#include <cerrno>

#include "ini_families.h"

namespace {

class IniRead : public IniTest {};

}  // namespace

TEST_P(IniRead, ValuesAreFoundBySectionAndKey) {
    const Ini ini = Document("[flushgap]\nvalue=40\n[config]\naddr=10.0.0.5\nvalue=x\n");
    EXPECT_EQ(Get(ini, "flushgap", "value"), "40");
    EXPECT_EQ(Get(ini, "config", "addr"), "10.0.0.5");
    EXPECT_EQ(Get(ini, "config", "value"), "x");
}

TEST_P(IniRead, WhatIsNotThereIsNull) {
    const Ini ini = Document("[config]\naddr=10.0.0.5\n");
    errno = 0;
    EXPECT_EQ(Get(ini, "config", "port"), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
    errno = 0;
    EXPECT_EQ(Get(ini, "connect", "addr"), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
}

TEST_P(IniRead, NamesAreComparedAsTheyAreWritten) {
    const Ini ini = Document("[Config]\nAddr=1\n");
    EXPECT_EQ(Get(ini, "Config", "Addr"), "1");
    EXPECT_EQ(Get(ini, "config", "Addr"), std::nullopt);
    EXPECT_EQ(Get(ini, "Config", "addr"), std::nullopt);
}

TEST_P(IniRead, BlanksAroundNamesAndValuesDoNotCount) {
    const Ini ini = Document(" \t[ a b ]\t\n\t k 1 \t=\t v 1 \t\n");
    EXPECT_EQ(Get(ini, "a b", "k 1"), "v 1");
    EXPECT_EQ(Get(ini, " a b\t", "\tk 1 "), "v 1");
}

TEST_P(IniRead, CommentsBeginWithASemicolonOrANumberSign) {
    const Ini ini = Document("[a]\n;x=1\n  #y=2\n ; [b]\nz=3\n");
    EXPECT_EQ(Get(ini, "a", ";x"), std::nullopt);
    EXPECT_EQ(Get(ini, "a", "x"), std::nullopt);
    EXPECT_EQ(Get(ini, "a", "#y"), std::nullopt);
    EXPECT_EQ(Get(ini, "a", "z"), "3");
}

TEST_P(IniRead, NothingBehindAValueIsAComment) {
    const Ini ini = Document("[a]\nx=1 ; one\ny=#2\n");
    EXPECT_EQ(Get(ini, "a", "x"), "1 ; one");
    EXPECT_EQ(Get(ini, "a", "y"), "#2");
}

TEST_P(IniRead, QuotesAndBackslashesBelongToTheValue) {
    const Ini ini = Document("[a]\nx=\" v \"\ny='v'\nz=C:\\n\\\n");
    EXPECT_EQ(Get(ini, "a", "x"), "\" v \"");
    EXPECT_EQ(Get(ini, "a", "y"), "'v'");
    EXPECT_EQ(Get(ini, "a", "z"), "C:\\n\\");
}

TEST_P(IniRead, AnEqualsSignMayStandInAValue) {
    EXPECT_EQ(Get(Document("[a]\nx=y=z\n"), "a", "x"), "y=z");
}

TEST_P(IniRead, NothingBeginsAValueOfSeveralLines) {
    const Ini ini = Document("[a]\nx=<<<END\ny=1\nEND\n");
    EXPECT_EQ(Get(ini, "a", "x"), "<<<END");
    EXPECT_EQ(Get(ini, "a", "y"), "1");
}

TEST_P(IniRead, AKeyWithoutAValueHasAnEmptyOne) {
    EXPECT_EQ(Get(Document("[a]\nx=\ny= \t\n"), "a", "x"), "");
    EXPECT_EQ(Get(Document("[a]\nx=\ny= \t\n"), "a", "y"), "");
}

TEST_P(IniRead, KeysAboveTheFirstSectionAreInTheEmptyOne) {
    const Ini ini = Document("x=1\n[a]\nx=2\n");
    EXPECT_EQ(Get(ini, "", "x"), "1");
    EXPECT_EQ(Get(ini, "a", "x"), "2");
}

TEST_P(IniRead, OfSeveralValuesTheLastOneCounts) {
    EXPECT_EQ(Get(Document("[a]\nx=1\ny=2\nx=3\n"), "a", "x"), "3");
}

TEST_P(IniRead, ASectionThatComesTwiceIsOne) {
    const Ini ini = Document("[a]\nx=1\n[b]\ny=2\n[a]\nz=3\n");
    EXPECT_EQ(Get(ini, "a", "x"), "1");
    EXPECT_EQ(Get(ini, "a", "z"), "3");
    EXPECT_EQ(Get(ini, "b", "z"), std::nullopt);
}

TEST_P(IniRead, LinesEndInAnyOfThreeWays) {
    const Ini ini = Document("[a]\r\nx=1\r\n\r\ny=2\rz=3\n");
    EXPECT_EQ(Get(ini, "a", "x"), "1");
    EXPECT_EQ(Get(ini, "a", "y"), "2");
    EXPECT_EQ(Get(ini, "a", "z"), "3");
}

TEST_P(IniRead, TheLastLineNeedsNoEnd) {
    EXPECT_EQ(Get(Document("[a]\nx=1"), "a", "x"), "1");
}

TEST_P(IniRead, AByteOrderMarkIsSkipped) {
    EXPECT_EQ(Get(Document("\xEF\xBB\xBF[a]\nx=1\n"), "a", "x"), "1");
    EXPECT_EQ(Get(Document("\xEF\xBB\xBFx=1\n"), "", "x"), "1");
}

TEST_P(IniRead, NoCharacterSetIsAssumed) {
    EXPECT_EQ(Get(Document("[\xB2\xE2]\n\xFF=\xCA\xD4\n"), "\xB2\xE2", "\xFF"), "\xCA\xD4");
}

TEST_P(IniRead, LinesThatAreNothingArePassedOver) {
    const Ini ini = Document("garbage\n[a]\nx=1\n=2\n[broken\ny=3\n] \n");
    EXPECT_EQ(Get(ini, "a", "x"), "1");
    EXPECT_EQ(Get(ini, "a", ""), std::nullopt);
    EXPECT_EQ(Get(ini, "a", "y"), "3");
}

TEST_P(IniRead, TextBehindASectionsBracketDoesNotCount) {
    EXPECT_EQ(Get(Document("[a] ; the section [b]\nx=1\n"), "a", "x"), "1");
}

TEST_P(IniRead, AValueIsValidUntilItsKeyIsSet) {
    const Ini ini = Document("[a]\nx=1\ny=2\n");
    const char* const loaded = GetParam().get(ini.get(), "a", "x");
    ASSERT_EQ(Set(ini, "a", "y", "3"), 0);
    const char* const set = GetParam().get(ini.get(), "a", "y");
    ASSERT_EQ(Set(ini, "b", "z", "4"), 0);
    ASSERT_EQ(Del(ini, "b"), 0);
    EXPECT_FALSE(Saved(ini).empty());
    EXPECT_STREQ(loaded, "1");
    EXPECT_STREQ(set, "3");
}

TEST_P(IniRead, NullArgumentsAreRefused) {
    const Ini ini = Document("[a]\nx=1\n");
    for (const auto& [file, section, key] :
         {std::tuple<kxe_ini_file*, const char*, const char*>{nullptr, "a", "x"},
          {ini.get(), nullptr, "x"},
          {ini.get(), "a", nullptr}}) {
        errno = 0;
        EXPECT_EQ(GetParam().get(file, section, key), nullptr);
        EXPECT_EQ(errno, EINVAL);
    }
}

INI_TEST_SUITE(IniRead);
