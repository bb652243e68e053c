// The numbers of the packed form.
#include "format.h"

#include <gtest/gtest.h>

#include <string>

using namespace xmsg_format;

TEST(XmsgFormat, NumbersAreBigEndian) {
    char bytes[6];
    WriteU16(bytes, 0x8001);
    WriteU32(bytes + 2, 0xFEDCBA98);
    EXPECT_EQ(std::string(bytes, 6), "\x80\x01\xFE\xDC\xBA\x98");
}

TEST(XmsgFormat, NumbersComeBack) {
    EXPECT_EQ(ReadU16("\x80\x01"), 0x8001U);
    EXPECT_EQ(ReadU32("\xFE\xDC\xBA\x98"), 0xFEDCBA98U);
}

TEST(XmsgFormat, AHeaderNeedsSixteenBytes) {
    const std::string header("KXMS\0\1\0\0\0\0\0\20\0\0\0\0", 16);
    EXPECT_EQ(ReadTotal(header.data(), 15), std::nullopt);
    EXPECT_EQ(ReadTotal(header.data(), 16), 16U);
}

TEST(XmsgFormat, EntriesAreWhereTheyBegin) {
    const std::string message(
        "KXMS\0\1\0\0\0\0\0\45\0\0\0\2\0"
        "\0\1\0\0\0\2kvv\0\0\1\0\0\0\1kv\0"
        "\0",
        37);
    // Two entries of 10 and 9 bytes behind the 17 of the header would be 36: one byte is too many.
    EXPECT_EQ(ReadEntries(message.data(), 37), std::nullopt);
    EXPECT_EQ(ReadEntries(message.data(), 36), (std::vector<std::uint32_t>{17, 27}));
    EXPECT_EQ(EntryAt(message.data(), 17).key, "k");
    EXPECT_EQ(EntryAt(message.data(), 17).value, "vv");
    EXPECT_EQ(EntryAt(message.data(), 27).value, "v");
}
