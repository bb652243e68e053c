// Packed bytes that are no message: each is refused and none makes the reader leave its bytes,
// which the AddressSanitizer build sees.
#include <gtest/gtest.h>

#include <string>

#include "support.h"

namespace {

const std::string& Small() {
    static const std::string bytes =
        Packed("nm", 3, Entry("key", "value") + Entry("", "x") + Entry("k", ""));
    return bytes;
}

// Walks all that a caller can reach, and says whether it fits together.
bool IsConsistent(const Message& message) {
    for (const char* key : {"key", "", "k", "kex"}) {
        const std::optional<std::string> value = Get(message, key);
        const char* const text =
            xmsg_get(message.get(), key, static_cast<std::uint16_t>(strlen(key)), nullptr, nullptr);
        if (value && text[value->size()] != '\0') {
            return false;
        }
    }
    return Pack(Unpack(Pack(message))) == Pack(message);
}

}  // namespace

TEST(XmsgHostile, TheSmallMessageOfTheseTestsIsSound) {
    EXPECT_EQ(Pack(Unpack(Small())), Small());
}

TEST(XmsgHostile, RefusesNull) {
    EXPECT_EQ(xmsg_unpack(nullptr, 0), nullptr);
    EXPECT_EQ(xmsg_unpack(nullptr, 100), nullptr);
}

TEST(XmsgHostile, RefusesEveryTruncation) {
    for (std::size_t length = 0; length < Small().size(); ++length) {
        EXPECT_EQ(Unpack(Small().substr(0, length)), nullptr) << length;
    }
}

TEST(XmsgHostile, RefusesEveryTruncationThatSaysItsLength) {
    for (std::size_t length = 16; length < Small().size(); ++length) {
        std::string bytes = Small().substr(0, length);
        bytes.replace(8, 4, U32(length));
        EXPECT_EQ(Unpack(bytes), nullptr) << length;
    }
}

TEST(XmsgHostile, SurvivesEveryCorruptionOfOneByte) {
    int accepted = 0;
    for (std::size_t at = 0; at < Small().size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            std::string bytes = Small();
            bytes[at] = static_cast<char>(value);
            const Message message = Unpack(bytes);
            if (message != nullptr) {
                ++accepted;
                EXPECT_TRUE(IsConsistent(message)) << at << ' ' << value;
            }
        }
    }
    // Every byte of name, keys and values may be any other, except that a key must not become one
    // of the others: 12 bytes of 256 values, less one value of the key "k" never, since no other
    // key has one byte. The 32 bytes left are accepted with their own value only.
    EXPECT_EQ(accepted, 12 * 256 + static_cast<int>(Small().size() - 12));
}

TEST(XmsgHostile, RefusesAnotherMagic) {
    std::string bytes = Small();
    bytes[3] = 'T';
    EXPECT_EQ(Unpack(bytes), nullptr);
}

TEST(XmsgHostile, RefusesAnotherVersion) {
    std::string bytes = Small();
    bytes.replace(4, 2, U16(2));
    EXPECT_EQ(Unpack(bytes), nullptr);
}

TEST(XmsgHostile, RefusesALengthBeyondTheBytes) {
    std::string bytes = Small();
    bytes.replace(8, 4, U32(Small().size() + 1));
    EXPECT_EQ(Unpack(bytes), nullptr);
    bytes.replace(8, 4, U32(0xFFFFFFFF));
    EXPECT_EQ(Unpack(bytes), nullptr);
}

TEST(XmsgHostile, RefusesALengthShorterThanTheHeader) {
    for (const std::uint64_t length : {0U, 1U, 15U, 16U}) {
        std::string bytes = Packed("", 0, "");
        bytes.replace(8, 4, U32(length));
        EXPECT_EQ(Unpack(bytes), nullptr) << length;
    }
}

TEST(XmsgHostile, RefusesMoreThanTheLargestMessage) {
    const std::string value(XMSG_MAX_SIZE - 18 - 7, 'v');
    EXPECT_EQ(Unpack(Packed("m", 1, Entry("k", value))), nullptr);
}

TEST(XmsgHostile, RefusesACountThatTheEntriesDoNotMeet) {
    for (const std::uint64_t count : {0U, 1U, 2U, 4U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        std::string bytes = Small();
        bytes.replace(12, 4, U32(count));
        EXPECT_EQ(Unpack(bytes), nullptr) << count;
    }
}

TEST(XmsgHostile, RefusesANameBeyondTheMessage) {
    std::string bytes = Small();
    bytes.replace(6, 2, U16(0xFFFF));
    EXPECT_EQ(Unpack(bytes), nullptr);
}

TEST(XmsgHostile, RefusesAKeyBeyondTheMessage) {
    EXPECT_EQ(Unpack(Packed("", 1, U16(0xFFFF) + U32(0) + std::string(20, '\0'))), nullptr);
}

TEST(XmsgHostile, RefusesAValueBeyondTheMessage) {
    for (const std::uint64_t length : {15U, 0x7FFFFFFFU, 0xFFFFFFF0U, 0xFFFFFFFFU}) {
        const std::string entry = U16(0) + U32(length) + std::string(15, '\0');
        EXPECT_EQ(Unpack(Packed("", 1, entry)), nullptr) << length;
    }
    EXPECT_NE(Unpack(Packed("", 1, U16(0) + U32(14) + std::string(15, '\0'))), nullptr);
}

TEST(XmsgHostile, RefusesLengthsWhoseSumWrapsAround) {
    // Six bytes of entry header, the key and the value together are 2^32 + 6.
    EXPECT_EQ(Unpack(Packed("", 1, U16(2) + U32(0xFFFFFFFE) + std::string(20, '\0'))), nullptr);
}

TEST(XmsgHostile, RefusesAValueWithoutItsZeroByte) {
    std::string bytes = Packed("m", 1, Entry("key", "value"));
    bytes.back() = '!';
    EXPECT_EQ(Unpack(bytes), nullptr);
}

TEST(XmsgHostile, RefusesANameWithoutItsZeroByte) {
    std::string bytes = Packed("m", 0, "");
    bytes.back() = '!';
    EXPECT_EQ(Unpack(bytes), nullptr);
}

TEST(XmsgHostile, RefusesAKeyThatOccursTwice) {
    EXPECT_EQ(Unpack(Packed("m", 3, Entry("a", "1") + Entry("b", "2") + Entry("a", "3"))), nullptr);
    EXPECT_EQ(Unpack(Packed("m", 2, Entry("", "") + Entry("", ""))), nullptr);
}

TEST(XmsgHostile, RefusesBytesBetweenTheLastEntryAndTheEnd) {
    EXPECT_EQ(Unpack(Packed("m", 1, Entry("a", "1") + "#")), nullptr);
    EXPECT_EQ(Unpack(Packed("m", 1, Entry("a", "1") + Entry("b", "2"))), nullptr);
}

// Comparing every key with every other would outlast the test's time-out by far.
TEST(XmsgHostile, ChecksVeryManyTinyKeysQuickly) {
    constexpr std::uint32_t kKeys = 400000;
    const auto key = [](std::uint32_t i) {
        return U32(i * 7919).substr(1);
    };  // mixed, all different
    std::string entries;
    for (std::uint32_t i = 0; i < kKeys; ++i) {
        entries += Entry(key(i), "");
    }
    const Message message = Unpack(Packed("", kKeys, entries));
    EXPECT_EQ(Get(message, key(kKeys - 1)), "");

    entries.replace(entries.size() - 4, 3, key(7));
    EXPECT_EQ(Unpack(Packed("", kKeys, entries)), nullptr);
}

TEST(XmsgHostile, ChecksALargestMessageOfLongKeysAlikeQuickly) {
    std::string entries;
    std::uint64_t count = 0;
    const std::string same(65531, 'k');
    while (entries.size() + 65535 + 7 + 17 <= XMSG_MAX_SIZE) {
        entries += Entry(same + U32(count), "");
        ++count;
    }
    EXPECT_NE(Unpack(Packed("", count, entries)), nullptr);
}
