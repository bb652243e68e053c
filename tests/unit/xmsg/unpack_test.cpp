// Reading packed messages that are sound.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "support.h"

TEST(XmsgUnpack, GivesBackWhatWasAdded) {
    const Message message = New("global");
    ASSERT_EQ(Add(message, "count", "3"), 0);
    ASSERT_EQ(Add(message, "multi_ip", "10.0.0.1"), 0);
    const Message copy = Unpack(Pack(message));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(Get(copy, "count"), "3");
    EXPECT_EQ(Get(copy, "multi_ip"), "10.0.0.1");
    EXPECT_EQ(Get(copy, "module"), std::nullopt);
}

TEST(XmsgUnpack, PacksToTheSameBytesAgain) {
    const std::string bytes = Packed("m", 3, Entry("z", "1") + Entry("", "") + Entry("a", "2"));
    EXPECT_EQ(Pack(Unpack(bytes)), bytes);
}

TEST(XmsgUnpack, KeepsBinaryKeysAndValues) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all.push_back(static_cast<char>(byte));
    }
    const Message message = New("m");
    ASSERT_EQ(Add(message, all, all + all), 0);
    EXPECT_EQ(Get(Unpack(Pack(message)), all), all + all);
}

TEST(XmsgUnpack, AValueIsFollowedByAZeroByte) {
    const Message copy = Unpack(Packed("m", 2, Entry("a", "text") + Entry("b", "more")));
    ASSERT_NE(copy, nullptr);
    EXPECT_STREQ(xmsg_get(copy.get(), "a", 1, nullptr, nullptr), "text");
    EXPECT_STREQ(xmsg_get(copy.get(), "b", 1, nullptr, nullptr), "more");
}

TEST(XmsgUnpack, AnEmptyValueIsAnEmptyString) {
    const Message copy = Unpack(Packed("m", 1, Entry("a", "")));
    ASSERT_NE(copy, nullptr);
    EXPECT_STREQ(xmsg_get(copy.get(), "a", 1, nullptr, nullptr), "");
}

TEST(XmsgUnpack, OutlivesTheBytesItWasGiven) {
    std::string bytes = Packed("m", 1, Entry("key", "value"));
    const Message copy(xmsg_unpack(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
    bytes.assign(bytes.size(), '#');
    EXPECT_EQ(Get(copy, "key"), "value");
}

TEST(XmsgUnpack, IgnoresWhatFollowsTheMessage) {
    const std::string bytes = Packed("m", 1, Entry("key", "value"));
    const Message copy = Unpack(bytes + Entry("other", "value") + "rubbish");
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(Pack(copy), bytes);
    EXPECT_EQ(Get(copy, "other"), std::nullopt);
}

TEST(XmsgUnpack, NeverReadsWhatFollowsTheMessage) {
    const std::string bytes = Packed("m", 1, Entry("key", "value"));
    // A block of just the message, with a length that says there is more: AddressSanitizer would
    // see the first byte beyond.
    const auto block = std::make_unique<char[]>(bytes.size());
    std::memcpy(block.get(), bytes.data(), bytes.size());
    const Message copy(xmsg_unpack(block.get(), 1000000));
    EXPECT_EQ(Get(copy, "key"), "value");
}

TEST(XmsgUnpack, NeedsNoAlignment) {
    const std::string bytes = Packed("m", 1, Entry("key", "value"));
    for (std::size_t shift = 0; shift < 8; ++shift) {
        const std::string shifted = std::string(shift, '#') + bytes;
        const Message copy(
            xmsg_unpack(shifted.data() + shift, static_cast<std::uint32_t>(bytes.size())));
        EXPECT_EQ(Get(copy, "key"), "value") << shift;
    }
}

TEST(XmsgUnpack, AnUnpackedMessageCanBeAddedTo) {
    const Message copy = Unpack(Packed("m", 1, Entry("b", "1")));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(Add(copy, "b", "2"), EEXIST);
    EXPECT_EQ(Add(copy, "a", "2"), 0);
    EXPECT_EQ(Pack(copy), Packed("m", 2, Entry("b", "1") + Entry("a", "2")));
}

TEST(XmsgUnpack, AcceptsALargestMessage) {
    const std::string value(XMSG_MAX_SIZE - 18 - 7 - 1, 'v');
    const Message copy = Unpack(Packed("m", 1, Entry("k", value)));
    EXPECT_EQ(Get(copy, "k"), value);
}

TEST(XmsgUnpack, FindsEveryOneOfManyKeys) {
    constexpr int kKeys = 5000;
    const Message message = New("m");
    for (int i = 0; i < kKeys; ++i) {
        ASSERT_EQ(Add(message, "ip" + std::to_string(i), std::to_string(i * 7)), 0);
    }
    const Message copy = Unpack(Pack(message));
    for (int i = 0; i < kKeys; ++i) {
        ASSERT_EQ(Get(copy, "ip" + std::to_string(i)), std::to_string(i * 7));
    }
}
