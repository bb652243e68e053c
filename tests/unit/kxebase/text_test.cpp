// Time, search, bounded print and copy.
#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>

#include "kxe_base.h"

extern "C" int HeadersWorkInC(void);

namespace {

long Find(std::string_view text, std::string_view pattern, std::size_t start = 0) {
    return kxe_str_find(text.data(), text.size(), pattern.data(), pattern.size(), start);
}

}  // namespace

TEST(Headers, WorkInC) {
    EXPECT_EQ(HeadersWorkInC(), 1);
}

TEST(Time, IsTheWallClockInSeconds) {
    const auto before = static_cast<uint64_t>(std::time(nullptr));
    const uint64_t now = kxe_time();
    const auto after = static_cast<uint64_t>(std::time(nullptr));
    EXPECT_GE(now, before);
    EXPECT_LE(now, after);
}

TEST(Find, GivesTheOffsetOfTheFirstOccurrence) {
    EXPECT_EQ(Find("/opt/kx/edr/agent/kx/edr/agent", "kx/edr/agent"), 5);
}

TEST(Find, FindsAtEitherEnd) {
    EXPECT_EQ(Find("abc", "ab"), 0);
    EXPECT_EQ(Find("abc", "bc"), 1);
    EXPECT_EQ(Find("abc", "abc"), 0);
}

TEST(Find, BeginsAtTheStartAndCountsFromTheBeginning) {
    EXPECT_EQ(Find("xaxax", "ax", 1), 1);
    EXPECT_EQ(Find("xaxax", "ax", 2), 3);
    EXPECT_EQ(Find("xaxax", "ax", 4), -1);
}

TEST(Find, IsNegativeWithoutAnOccurrence) {
    EXPECT_LT(Find("abc", "d"), 0);
    EXPECT_LT(Find("abc", "abcd"), 0);
    EXPECT_LT(Find("", "a"), 0);
}

TEST(Find, IsNegativeForAnEmptyPattern) {
    EXPECT_LT(Find("abc", ""), 0);
}

TEST(Find, IsNegativeForAStartAtOrBehindTheEnd) {
    EXPECT_LT(Find("abc", "c", 3), 0);
    EXPECT_LT(Find("abc", "c", std::numeric_limits<std::size_t>::max()), 0);
}

TEST(Find, TakesZeroBytesForOrdinaryOnes) {
    constexpr std::string_view kText("a\0b\0c", 5);
    EXPECT_EQ(Find(kText, std::string_view("\0c", 2)), 3);
    EXPECT_EQ(Find(kText, "c"), 4);
}

TEST(Find, LooksOnlyAtTheGivenLengths) {
    EXPECT_LT(kxe_str_find("abcdef", 3, "d", 1, 0), 0);
    EXPECT_EQ(kxe_str_find("abcdef", 6, "cdx", 2, 0), 2);
}

TEST(Find, IsNegativeForNullPointers) {
    EXPECT_LT(kxe_str_find(nullptr, 3, "a", 1, 0), 0);
    EXPECT_LT(kxe_str_find("abc", 3, nullptr, 1, 0), 0);
}

// Both names of the bounded print.
struct PrintFunction {
    const char* name;
    int (*print)(char*, size_t, const char*, ...);
};
void PrintTo(const PrintFunction& function, std::ostream* out) {
    *out << function.name;
}
class Print : public ::testing::TestWithParam<PrintFunction> {};

TEST_P(Print, WritesTheTextAndGivesItsLength) {
    char buf[16] = "xxxxxxxxxxxxxxx";
    EXPECT_EQ(GetParam().print(buf, sizeof buf, "%s-%ld", "ip", 12L), 5);
    EXPECT_STREQ(buf, "ip-12");
}

TEST_P(Print, CutsALongTextAndGivesItsWholeLength) {
    char buf[5] = "####";
    EXPECT_EQ(GetParam().print(buf, 4, "%d", 12345), 5);
    EXPECT_STREQ(buf, "123");
    EXPECT_EQ(buf[4], '\0');
}

TEST_P(Print, WritesAnEmptyTextIntoOneByte) {
    char buf[2] = {'a', 'b'};
    EXPECT_EQ(GetParam().print(buf, 1, "%s", "text"), 4);
    EXPECT_EQ(buf[0], '\0');
    EXPECT_EQ(buf[1], 'b');
}

TEST_P(Print, WritesNothingWithoutRoom) {
    char buf[2] = {'a', '\0'};
    EXPECT_EQ(GetParam().print(buf, 0, "%s", "text"), 4);
    EXPECT_EQ(buf[0], 'a');
    EXPECT_EQ(GetParam().print(nullptr, 8, "%s", "text"), 4);
}

TEST_P(Print, LeavesAnEmptyTextWhenTheTextCannotBeFormed) {
    char buf[8] = "before";
    const wchar_t no_character[] = {static_cast<wchar_t>(0x7FFFFFFF), L'\0'};
    EXPECT_LT(GetParam().print(buf, sizeof buf, "%ls", no_character), 0);
    EXPECT_STREQ(buf, "");
}

TEST_P(Print, RefusesANullFormat) {
    char buf[8] = "before";
    const char* const format = nullptr;
    EXPECT_LT(GetParam().print(buf, sizeof buf, format), 0);
    EXPECT_STREQ(buf, "");
    EXPECT_LT(GetParam().print(nullptr, 0, format), 0);
}

INSTANTIATE_TEST_SUITE_P(, Print,
                         ::testing::Values(PrintFunction{"kxe_str_snprintf", kxe_str_snprintf},
                                           PrintFunction{"str_snprintf", str_snprintf}),
                         [](const auto& instance) { return instance.param.name; });

TEST(Copy, CopiesAndGivesTheLengthOfTheSource) {
    char dst[8];
    EXPECT_EQ(kxe_str_strlcpy(dst, "seven77", sizeof dst), 7U);
    EXPECT_STREQ(dst, "seven77");
}

TEST(Copy, CutsToFit) {
    char dst[9] = "########";
    EXPECT_EQ(kxe_str_strlcpy(dst, "eight888", 8), 8U);
    EXPECT_STREQ(dst, "eight88");
}

TEST(Copy, WritesNothingWithoutRoom) {
    char dst[2] = {'a', 'b'};
    EXPECT_EQ(kxe_str_strlcpy(dst, "text", 0), 4U);
    EXPECT_EQ(dst[0], 'a');
    EXPECT_EQ(kxe_str_strlcpy(nullptr, "text", 8), 4U);
}

TEST(Copy, TakesANullSourceForAnEmptyText) {
    char dst[4] = "abc";
    EXPECT_EQ(kxe_str_strlcpy(dst, nullptr, sizeof dst), 0U);
    EXPECT_STREQ(dst, "");
}

TEST(Append, AppendsAndGivesTheWholeLength) {
    char dst[8] = "10";
    EXPECT_EQ(kxe_str_strncat(dst, ".20", sizeof dst), 5U);
    EXPECT_STREQ(dst, "10.20");
}

TEST(Append, CutsToTheSizeOfTheWholeBuffer) {
    char dst[9] = "12345";
    dst[8] = '#';
    EXPECT_EQ(kxe_str_strncat(dst, "6789", 8), 9U);
    EXPECT_STREQ(dst, "1234567");
    EXPECT_EQ(dst[8], '#');
}

TEST(Append, LeavesAFullBufferAlone) {
    char dst[4] = "123";
    EXPECT_EQ(kxe_str_strncat(dst, "4", sizeof dst), 4U);
    EXPECT_STREQ(dst, "123");
}

TEST(Append, LeavesABufferWithoutAZeroByteAlone) {
    char dst[4] = {'1', '2', '3', '4'};
    EXPECT_EQ(kxe_str_strncat(dst, "56", sizeof dst), 6U);
    EXPECT_EQ(std::string(dst, sizeof dst), "1234");
}

TEST(Append, WritesNothingWithoutRoom) {
    char dst[2] = {'a', '\0'};
    EXPECT_EQ(kxe_str_strncat(dst, "text", 0), 4U);
    EXPECT_STREQ(dst, "a");
    EXPECT_EQ(kxe_str_strncat(nullptr, "text", 8), 4U);
}

TEST(Append, TakesANullSourceForAnEmptyText) {
    char dst[4] = "ab";
    EXPECT_EQ(kxe_str_strncat(dst, nullptr, sizeof dst), 2U);
    EXPECT_STREQ(dst, "ab");
}
