// Building a message, reading it before it is packed, and packing it.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "support.h"

TEST(XmsgNew, MakesAMessageWithoutEntries) {
    EXPECT_EQ(Pack(New("global")), Packed("global", 0, ""));
}

TEST(XmsgNew, AcceptsAnEmptyName) {
    EXPECT_EQ(Pack(New("")), Packed("", 0, ""));
}

TEST(XmsgNew, RefusesANullName) {
    EXPECT_EQ(xmsg_new(nullptr), nullptr);
}

TEST(XmsgNew, AcceptsALongestName) {
    const std::string name(65535, 'n');
    EXPECT_EQ(Pack(New(name.c_str())), Packed(name, 0, ""));
}

TEST(XmsgNew, RefusesALongerName) {
    EXPECT_EQ(xmsg_new(std::string(65536, 'n').c_str()), nullptr);
}

TEST(XmsgAdd, WritesTheDocumentedBytes) {
    const Message message = New("agt_ei");
    EXPECT_EQ(Add(message, "online_state", "1"), 0);
    EXPECT_EQ(Pack(message), std::string("KXMS\0\1\0\6\0\0\0\53\0\0\0\1agt_ei\0"
                                         "\0\14\0\0\0\1online_state1\0",
                                         43));
}

TEST(XmsgAdd, KeepsTheOrderOfAdding) {
    const Message message = New("m");
    EXPECT_EQ(Add(message, "z", "1"), 0);
    EXPECT_EQ(Add(message, "a", "2"), 0);
    EXPECT_EQ(Add(message, "k", "3"), 0);
    EXPECT_EQ(Pack(message), Packed("m", 3, Entry("z", "1") + Entry("a", "2") + Entry("k", "3")));
}

TEST(XmsgAdd, RefusesAKeyThatIsThere) {
    const Message message = New("m");
    EXPECT_EQ(Add(message, "key", "first"), 0);
    EXPECT_EQ(Add(message, "key", "second"), EEXIST);
    EXPECT_EQ(Pack(message), Packed("m", 1, Entry("key", "first")));
}

TEST(XmsgAdd, TellsKeysApartThatBeginAlike) {
    const Message message = New("m");
    EXPECT_EQ(Add(message, "ip1", "a"), 0);
    EXPECT_EQ(Add(message, "ip10", "b"), 0);
    EXPECT_EQ(Add(message, "ip", "c"), 0);
    EXPECT_EQ(Get(message, "ip1"), "a");
    EXPECT_EQ(Get(message, "ip10"), "b");
    EXPECT_EQ(Get(message, "ip"), "c");
}

TEST(XmsgAdd, TellsKeysApartByBytesBehindAZero) {
    using namespace std::string_view_literals;
    const Message message = New("m");
    EXPECT_EQ(Add(message, "a\0b"sv, "1"), 0);
    EXPECT_EQ(Add(message, "a\0c"sv, "2"), 0);
    EXPECT_EQ(Add(message, "a", "3"), 0);
    EXPECT_EQ(Get(message, "a\0b"sv), "1");
    EXPECT_EQ(Get(message, "a\0c"sv), "2");
    EXPECT_EQ(Get(message, "a"), "3");
}

TEST(XmsgAdd, AcceptsEmptyKeyAndValue) {
    const Message message = New("m");
    EXPECT_EQ(xmsg_add(message.get(), nullptr, 0, nullptr, 0), 0);
    EXPECT_EQ(Get(message, ""), "");
    EXPECT_EQ(Pack(message), Packed("m", 1, Entry("", "")));
}

TEST(XmsgAdd, RefusesNullWithALength) {
    const Message message = New("m");
    EXPECT_EQ(xmsg_add(nullptr, "k", 1, "v", 1), EINVAL);
    EXPECT_EQ(xmsg_add(message.get(), nullptr, 1, "v", 1), EINVAL);
    EXPECT_EQ(xmsg_add(message.get(), "k", 1, nullptr, 1), EINVAL);
    EXPECT_EQ(Pack(message), Packed("m", 0, ""));
}

TEST(XmsgAdd, AcceptsALongestKey) {
    const std::string key(65535, 'k');
    const Message message = New("m");
    EXPECT_EQ(Add(message, key, "v"), 0);
    EXPECT_EQ(Get(message, key), "v");
    EXPECT_EQ(Pack(message), Packed("m", 1, Entry(key, "v")));
}

TEST(XmsgAdd, FillsAMessageToItsLimitAndNoFurther) {
    const Message message = New("m");
    // 18 bytes for the message, 7 for the entry beside key and value, one for the key.
    const std::string value(XMSG_MAX_SIZE - 18 - 7 - 1, 'v');
    EXPECT_EQ(Add(message, "k", value + "v"), EMSGSIZE);
    EXPECT_EQ(Add(message, "k", value), 0);
    EXPECT_EQ(xmsg_pack_size(message.get()), XMSG_MAX_SIZE);
    EXPECT_EQ(Add(message, "", ""), EMSGSIZE);
    EXPECT_EQ(Get(message, "k"), value);
}

TEST(XmsgAdd, TakesAValueOutOfTheMessageItself) {
    const Message message = New("m");
    ASSERT_EQ(Add(message, "key0", "value"), 0);
    // Enough of them to make the message move in memory several times.
    for (int i = 1; i <= 100; ++i) {
        const std::string key = "key" + std::to_string(i);
        const std::string previous = "key" + std::to_string(i - 1);
        const char* const value =
            xmsg_get(message.get(), previous.data(), static_cast<std::uint16_t>(previous.size()),
                     nullptr, nullptr);
        ASSERT_NE(value, nullptr);
        ASSERT_EQ(Add(message, key, {value, 5}), 0);
    }
    EXPECT_EQ(Get(message, "key100"), "value");
}

TEST(XmsgGet, ReadsAMessageThatWasNeverPacked) {
    const Message message = New("m");
    ASSERT_EQ(Add(message, "module", "global"), 0);
    std::uint32_t length = 77;
    std::uint32_t flags = 77;
    EXPECT_STREQ(xmsg_get(message.get(), "module", 6, &length, &flags), "global");
    EXPECT_EQ(length, 6U);
    EXPECT_EQ(flags, 0U);
}

TEST(XmsgGet, AnAbsentKeyIsNullAndZero) {
    const Message message = New("m");
    ASSERT_EQ(Add(message, "module", "global"), 0);
    std::uint32_t length = 77;
    std::uint32_t flags = 77;
    EXPECT_EQ(xmsg_get(message.get(), "modul", 5, &length, &flags), nullptr);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(flags, 0U);
}

TEST(XmsgGet, NullArgumentsAreHarmless) {
    const Message message = New("m");
    ASSERT_EQ(Add(message, "k", "v"), 0);
    EXPECT_EQ(xmsg_get(nullptr, "k", 1, nullptr, nullptr), nullptr);
    EXPECT_EQ(xmsg_get(message.get(), nullptr, 1, nullptr, nullptr), nullptr);
    EXPECT_EQ(xmsg_get(message.get(), nullptr, 0, nullptr, nullptr), nullptr);
    EXPECT_STREQ(xmsg_get(message.get(), "k", 1, nullptr, nullptr), "v");
}

TEST(XmsgPack, SizeOfANullMessageIsZero) {
    EXPECT_EQ(xmsg_pack_size(nullptr), 0U);
}

TEST(XmsgPack, RefusesABufferThatIsTooSmall) {
    const Message message = New("m");
    std::string buffer(17, '#');
    EXPECT_EQ(xmsg_pack(message.get(), buffer.data(), 17), -1);
    EXPECT_EQ(buffer, std::string(17, '#'));
}

TEST(XmsgPack, LeavesTheRestOfALargerBufferAlone) {
    const Message message = New("m");
    std::string buffer(20, '#');
    EXPECT_EQ(xmsg_pack(message.get(), buffer.data(), 20), 18);
    EXPECT_EQ(buffer, Packed("m", 0, "") + "##");
}

TEST(XmsgPack, RefusesNull) {
    const Message message = New("m");
    char buffer[32];
    EXPECT_EQ(xmsg_pack(nullptr, buffer, sizeof buffer), -1);
    EXPECT_EQ(xmsg_pack(message.get(), nullptr, 32), -1);
}

TEST(XmsgPack, TheSameEntriesGiveTheSameBytes) {
    const Message one = New("m");
    const Message other = New("m");
    for (const Message* message : {&one, &other}) {
        ASSERT_EQ(Add(*message, "b", "1"), 0);
        ASSERT_EQ(Add(*message, "a", "2"), 0);
    }
    EXPECT_EQ(Pack(one), Pack(other));
}

TEST(XmsgRelease, NullIsAllowed) {
    xmsg_release(nullptr);
    SUCCEED();
}

extern "C" int HeaderWorksInC();

TEST(XmsgHeader, WorksInC) {
    EXPECT_EQ(HeaderWorksInC(), 1);
}
