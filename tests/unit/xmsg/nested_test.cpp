// A message inside of a message, unpacked with the length of the value and with the outer length.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "support.h"

namespace {

// The value of `key` unpacked as a message, with a length that the caller chooses.
Message Nested(const Message& outer, std::string_view key, std::size_t length) {
    const char* const value =
        xmsg_get(outer.get(), key.data(), static_cast<std::uint16_t>(key.size()), nullptr, nullptr);
    return value == nullptr ? nullptr
                            : Message(xmsg_unpack(value, static_cast<std::uint32_t>(length)));
}

std::string Inner() {
    return Packed("multi_ip", 2, Entry("ip0", "10.0.0.1") + Entry("ip1", "10.0.0.2"));
}

}  // namespace

TEST(XmsgNested, UnpacksWithTheLengthOfTheValue) {
    const Message outer = Unpack(Packed("global", 1, Entry("multi_ip", Inner())));
    const Message inner = Nested(outer, "multi_ip", Inner().size());
    EXPECT_EQ(Get(inner, "ip1"), "10.0.0.2");
}

TEST(XmsgNested, UnpacksWithTheOuterLength) {
    const std::string bytes = Packed("global", 2, Entry("multi_ip", Inner()) + Entry("count", "2"));
    const Message inner = Nested(Unpack(bytes), "multi_ip", bytes.size());
    EXPECT_EQ(Get(inner, "ip0"), "10.0.0.1");
    EXPECT_EQ(Get(inner, "ip1"), "10.0.0.2");
    EXPECT_EQ(Get(inner, "count"), std::nullopt);
    EXPECT_EQ(Pack(inner), Inner());
}

TEST(XmsgNested, OutlivesTheOuterMessage) {
    const std::string bytes = Packed("global", 1, Entry("multi_ip", Inner()));
    Message outer = Unpack(bytes);
    const Message inner = Nested(outer, "multi_ip", bytes.size());
    outer.reset();
    EXPECT_EQ(Get(inner, "ip0"), "10.0.0.1");
}

TEST(XmsgNested, ThreeLevelsDeepWithTheOutermostLength) {
    const std::string middle = Packed("b", 1, Entry("c", Inner()));
    const std::string bytes = Packed("a", 1, Entry("b", middle));
    const Message b = Nested(Unpack(bytes), "b", bytes.size());
    const Message c = Nested(b, "c", bytes.size());
    EXPECT_EQ(Get(c, "ip0"), "10.0.0.1");
}

TEST(XmsgNested, RefusesTextWithTheOuterLength) {
    for (const char* value : {"", "x", "KXMS", "10.0.0.1"}) {
        const std::string bytes = Packed("global", 1, Entry("multi_ip", value));
        EXPECT_EQ(Nested(Unpack(bytes), "multi_ip", bytes.size()), nullptr) << value;
    }
}

// The inner header claims all that the caller says may be read, from the last value of the outer
// message: the furthest that anything can reach. What lies there belongs to the outer message
// (under AddressSanitizer a read outside ends the test) and is zero, so it is no message.
TEST(XmsgNested, AnInnerMessageThatClaimsTheWholeOuterLengthStaysInside) {
    const std::uint64_t total = 17 + 6 + 7 + 1 + 16;
    const std::string lie = "KXMS" + U16(1) + U16(0) + U32(total) + U32(1);
    const std::string bytes = Packed("global", 1, Entry("m", lie));
    ASSERT_EQ(bytes.size(), total);
    EXPECT_EQ(Nested(Unpack(bytes), "m", bytes.size()), nullptr);
}

// A lie that is consistent: one entry, whose value is made of the zeros behind the outer message.
TEST(XmsgNested, AnInnerMessageMadeOfTheZerosBehindReadsZeros) {
    const std::uint64_t total = 17 + 6 + 7 + 1 + 16 + 1 + 6;
    const std::uint64_t value_length = total - 16 - 1 - 6 - 1;
    const std::string lie =
        "KXMS" + U16(1) + U16(0) + U32(total) + U32(1) + '\0' + U16(0) + U32(value_length);
    const std::string bytes = Packed("global", 1, Entry("m", lie));
    ASSERT_EQ(bytes.size(), total);
    const Message inner = Nested(Unpack(bytes), "m", bytes.size());
    EXPECT_EQ(Get(inner, ""), std::string(value_length, '\0'));
}

// The caller's length may be that of a larger block which the message only begins.
TEST(XmsgNested, TheOuterLengthMayCountBytesBehindTheOuterMessage) {
    constexpr std::uint64_t kBlock = 1000000;
    const std::uint64_t value_length = kBlock - 16 - 1 - 6 - 1;
    const std::string lie =
        "KXMS" + U16(1) + U16(0) + U32(kBlock) + U32(1) + '\0' + U16(0) + U32(value_length);
    std::string bytes = Packed("global", 1, Entry("m", lie));
    bytes.resize(kBlock, '#');
    const Message inner = Nested(Unpack(bytes), "m", bytes.size());
    EXPECT_EQ(Get(inner, ""), std::string(value_length, '\0'));
}

TEST(XmsgNested, AnyOuterLengthIsSafe) {
    const std::string lie = "KXMS" + U16(1) + U16(0) + U32(XMSG_MAX_SIZE) + U32(0);
    const std::string bytes = Packed("global", 1, Entry("m", lie));
    const auto block = std::make_unique<char[]>(bytes.size());
    std::memcpy(block.get(), bytes.data(), bytes.size());
    const Message outer(xmsg_unpack(block.get(), 0xFFFFFFFF));
    ASSERT_NE(outer, nullptr);
    EXPECT_EQ(Nested(outer, "m", 0xFFFFFFFF), nullptr);
}

TEST(XmsgNested, AddingToTheOuterMessageKeepsThePromise) {
    const std::string lie =
        "KXMS" + U16(1) + U16(0) + U32(5000) + U32(1) + '\0' + U16(0) + U32(5000 - 16 - 1 - 6 - 1);
    std::string bytes = Packed("global", 1, Entry("m", lie));
    bytes.resize(5000, '#');
    const Message outer = Unpack(bytes);
    ASSERT_EQ(Add(outer, "n", lie), 0);
    const Message inner = Nested(outer, "n", bytes.size());
    EXPECT_EQ(Get(inner, ""), std::string(5000 - 16 - 1 - 6 - 1, '\0'));
}

TEST(XmsgNested, AMessageThatWasNeverPackedKeepsThePromiseToo) {
    const Message outer = New("global");
    ASSERT_EQ(Add(outer, "multi_ip", Inner()), 0);
    const Message inner = Nested(outer, "multi_ip", xmsg_pack_size(outer.get()));
    EXPECT_EQ(Get(inner, "ip1"), "10.0.0.2");
}
