#include "ipc/frame.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::string_literals;

namespace {

std::string Header(uint32_t payload_length) {
    std::string header(kFrameHeaderSize, '\xAA');
    WriteFrameHeader(header.data(), payload_length);
    return header;
}

}  // namespace

TEST(Frame, HeaderIsTwentyBytesOfMagicTypeAndLengthInNetworkOrder) {
    EXPECT_EQ(Header(0x01020304), "3200\0\0\0\0\0\1\0\0\0\0\0\0\1\2\3\4"s);
}

TEST(Frame, HeaderOfAnEmptyPayloadSaysZero) {
    EXPECT_EQ(Header(0), "3200\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\0"s);
}

TEST(Frame, HeaderHoldsTheGreatestLength) {
    EXPECT_EQ(Header(0xFFFFFFFF), "3200\0\0\0\0\0\1\0\0\0\0\0\0\xFF\xFF\xFF\xFF"s);
}

TEST(Frame, NothingBehindTheHeaderIsWritten) {
    std::string bytes(kFrameHeaderSize + 1, 'x');
    WriteFrameHeader(bytes.data(), 1);
    EXPECT_EQ(bytes[kFrameHeaderSize], 'x');
}

TEST(Frame, ReadingGivesTypeAndLength) {
    std::string header = "3200\0\0\0\0\x12\x34\0\0\0\0\0\0\x89\xAB\xCD\xEF"s;
    const FrameHeader read = ConvertFrameHeader(header.data());
    EXPECT_EQ(read.payload_type, 0x1234);
    EXPECT_EQ(read.payload_length, 0x89ABCDEFU);
}

// The expected bytes are those of a little-endian host, which every supported one is.
TEST(Frame, ReadingConvertsTheFourNumbersWhereTheyStandAndNothingElse) {
    std::string header = "ABCD\1\2\3\4\5\6abcdef\7\x8\x9\xA+"s;
    (void)ConvertFrameHeader(header.data());
    EXPECT_EQ(header, "ABCD\2\1\4\3\6\5abcdef\xA\x9\x8\7+"s);
}

TEST(Frame, ReadingNeedsNoAlignment) {
    for (std::size_t offset = 0; offset < 4; ++offset) {
        std::string bytes = std::string(offset, '-') + Header(77);
        EXPECT_EQ(ConvertFrameHeader(bytes.data() + offset).payload_length, 77U) << offset;
    }
}

TEST(Frame, IsBetweenAHeaderAndTenMebibytesLong) {
    EXPECT_FALSE(IsFrameSize(0));
    EXPECT_FALSE(IsFrameSize(19));
    EXPECT_TRUE(IsFrameSize(20));
    EXPECT_TRUE(IsFrameSize(10485760));
    EXPECT_FALSE(IsFrameSize(10485761));
    EXPECT_FALSE(IsFrameSize(0xFFFFFFFF));
}

TEST(Frame, HoldsAPayloadThatFillsItOrLess) {
    EXPECT_TRUE(HoldsPayload({1, 100}, 120));
    EXPECT_TRUE(HoldsPayload({1, 99}, 120));
    EXPECT_TRUE(HoldsPayload({1, 0}, 20));
}

TEST(Frame, DoesNotHoldALongerPayload) {
    EXPECT_FALSE(HoldsPayload({1, 101}, 120));
    EXPECT_FALSE(HoldsPayload({1, 1}, 20));
}

TEST(Frame, LengthsDoNotWrapAround) {
    EXPECT_FALSE(HoldsPayload({1, 0xFFFFFFFF}, 120));
    EXPECT_FALSE(HoldsPayload({1, 0xFFFFFFEC}, 120));  // with the header, 0 in 32 bits
}
