#include "common/frame.h"

#include <gtest/gtest.h>

using kxapp::MakeFrame;
using namespace std::string_view_literals;

namespace {

constexpr std::string_view kWhole = "3200\0\0\0\0\0\x01\0\0\0\0\0\0\0\0\0\x05hello"sv;

std::string FaultOf(std::string_view bytes) {
    std::string fault;
    EXPECT_EQ(kxapp::PayloadOfFrame(bytes, fault), std::nullopt);
    return fault;
}

std::string Changed(std::size_t offset, char byte) {
    std::string bytes(kWhole);
    bytes[offset] = byte;
    return bytes;
}

}  // namespace

TEST(MakeFrame, WritesTheHeaderInNetworkOrder) {
    EXPECT_EQ(MakeFrame("hello"), kWhole);
    EXPECT_EQ(MakeFrame("", 0x0102, 0x03040506),
              "3200\0\0\0\0\x01\x02\0\0\0\0\0\0\x03\x04\x05\x06"sv);
}

TEST(PayloadOfFrame, GivesThePayloadOfAFaultlessFrame) {
    std::string fault = "something";
    EXPECT_EQ(kxapp::PayloadOfFrame(kWhole, fault), "hello");
    EXPECT_EQ(fault, "");
}

TEST(PayloadOfFrame, MayBeEmpty) {
    std::string fault;
    EXPECT_EQ(kxapp::PayloadOfFrame(MakeFrame(""), fault), "");
}

TEST(PayloadOfFrame, RefusesLessThanAHeader) {
    EXPECT_EQ(FaultOf(""), "frame of 0 bytes, shorter than its header of 20");
    EXPECT_EQ(FaultOf(kWhole.substr(0, 19)), "frame of 19 bytes, shorter than its header of 20");
}

TEST(PayloadOfFrame, RefusesAnotherMagic) {
    for (const std::size_t offset : {0U, 1U, 2U, 3U}) {
        EXPECT_EQ(FaultOf(Changed(offset, 'x')), "frame does not begin with 3200");
    }
}

TEST(PayloadOfFrame, RefusesReservedBytesThatAreSet) {
    for (const std::size_t offset : {4U, 5U, 6U, 7U, 10U, 11U, 12U, 13U, 14U, 15U}) {
        EXPECT_EQ(FaultOf(Changed(offset, '\1')), "frame with a reserved byte that is not zero")
            << offset;
    }
}

TEST(PayloadOfFrame, RefusesAnotherPayloadType) {
    EXPECT_EQ(FaultOf(Changed(9, '\2')), "frame of payload type 2 instead of 1");
    EXPECT_EQ(FaultOf(Changed(8, '\xFF')), "frame of payload type 65281 instead of 1");
}

TEST(PayloadOfFrame, RefusesALengthThatIsNotExact) {
    EXPECT_EQ(FaultOf(Changed(19, '\6')), "frame announces 6 bytes of payload and has 5");
    EXPECT_EQ(FaultOf(Changed(19, '\4')), "frame announces 4 bytes of payload and has 5");
    EXPECT_EQ(FaultOf(Changed(16, '\xFF')),
              "frame announces 4278190085 bytes of payload and has 5");
}
