#include "common/keyvalue.h"

#include <gtest/gtest.h>

#include <stdexcept>

using kxapp::FindInMessage;
using kxapp::PackMessage;
using namespace std::string_literals;

TEST(PackMessage, HoldsItsEntries) {
    const std::string packed = PackMessage("global", {{"module", "global"}, {"x", "a\0b"s}});
    EXPECT_EQ(FindInMessage(packed, "module").value, "global");
    EXPECT_EQ(FindInMessage(packed, "x").value, "a\0b"s);
}

TEST(PackMessage, MayBeWithoutEntries) {
    EXPECT_TRUE(FindInMessage(PackMessage("global", {}), "module").is_message);
}

TEST(PackMessage, RefusesAKeyTwice) {
    EXPECT_THROW(PackMessage("global", {{"a", "1"}, {"a", "2"}}), std::runtime_error);
}

TEST(PackMessage, RefusesMoreThanAMessageCanHold) {
    EXPECT_THROW(PackMessage("global", {{"a", std::string(16 * 1024 * 1024, 'x')}}),
                 std::runtime_error);
    EXPECT_THROW(PackMessage("global", {{std::string(65536, 'k'), "x"}}), std::runtime_error);
}

TEST(FindInMessage, TellsAnAbsentKeyFromNoMessage) {
    const kxapp::FoundValue absent = FindInMessage(PackMessage("global", {{"a", ""}}), "b");
    EXPECT_TRUE(absent.is_message);
    EXPECT_EQ(absent.value, std::nullopt);
    const kxapp::FoundValue none = FindInMessage("no message", "b");
    EXPECT_FALSE(none.is_message);
    EXPECT_EQ(none.value, std::nullopt);
    EXPECT_FALSE(FindInMessage({}, "b").is_message);
}

TEST(UnpackedMessage, IsAskedForSeveralKeys) {
    const kxapp::UnpackedMessage message(PackMessage("m", {{"a", "1"}, {"b", "x\0y"s}}));
    EXPECT_TRUE(message.is_message());
    EXPECT_EQ(message.find("a"), "1");
    EXPECT_EQ(message.find("b"), "x\0y"s);
    EXPECT_EQ(message.find("c"), std::nullopt);
    EXPECT_EQ(message.find(std::string(65536, 'k')), std::nullopt);
}

TEST(UnpackedMessage, OfNoMessageHasNoKeys) {
    const kxapp::UnpackedMessage message("no message");
    EXPECT_FALSE(message.is_message());
    EXPECT_EQ(message.find("a"), std::nullopt);
}

TEST(FindInMessage, AnEmptyValueIsAValue) {
    EXPECT_EQ(FindInMessage(PackMessage("global", {{"a", ""}}), "a").value, "");
}
