// The list of manager addresses in the configuration centre's answer.
#include <climits>
#include <map>
#include <string>

#include "ipc/cfgparser.h"
#include "ipc_fixture.h"

using namespace std::string_literals;
using kxtest::Agent;
using kxtest::LoggedLines;
using kxtest::LogLine;
using kxtest::Packed;
using kxtest::PackedAddresses;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

class IpList : public kxtest::IpcTest {
  protected:
    bool Read(const std::string& bytes) {
        return GetIpConfInfo(bytes.data(), kxtest::Size(bytes), ips);
    }

    std::map<std::string, std::string> ips;
    const kxtest::LiveMessages messages;
};

std::string Key(long index) {
    char key[kIpKeySize] = {};
    FormatIpKey(index, key);
    return key;
}

using Values = std::vector<std::string>;

}  // namespace

TEST_F(IpList, GivesTheAddressesUnderTheirKeys) {
    EXPECT_TRUE(Read(PackedAddresses("3", Values{"10.0.0.1", "fe80::1", "10.0.0.3"})));
    EXPECT_THAT(
        ips, ElementsAre(Pair("ip0", "10.0.0.1"), Pair("ip1", "fe80::1"), Pair("ip2", "10.0.0.3")));
    EXPECT_THAT(LoggedLines(), IsEmpty());
    EXPECT_EQ(messages.Count(), 0);
}

TEST_F(IpList, IsInTheByteOrderOfTheKeys) {
    EXPECT_TRUE(Read(PackedAddresses("12", Values(12, "a"))));
    std::vector<std::string> keys;
    for (const auto& [key, address] : ips) {
        keys.push_back(key);
    }
    EXPECT_THAT(keys, ElementsAre("ip0", "ip1", "ip10", "ip11", "ip2", "ip3", "ip4", "ip5", "ip6",
                                  "ip7", "ip8", "ip9"));
}

TEST_F(IpList, EndsAtTheCount) {
    EXPECT_TRUE(Read(PackedAddresses("1", Values{"a", "b"})));
    EXPECT_THAT(ips, ElementsAre(Pair("ip0", "a")));
}

TEST_F(IpList, IsEmptyForACountOfZero) {
    EXPECT_TRUE(Read(PackedAddresses("0", Values{"a"})));
    EXPECT_THAT(ips, IsEmpty());
    EXPECT_EQ(messages.Count(), 0);
}

TEST_F(IpList, IsEmptyForANegativeCount) {
    EXPECT_TRUE(Read(PackedAddresses("-3", Values{"a"})));
    EXPECT_TRUE(Read(PackedAddresses("-99999999999999999999", Values{"a"})));
    EXPECT_THAT(ips, IsEmpty());
}

TEST_F(IpList, IsEmptyForACountThatIsNoNumber) {
    EXPECT_TRUE(Read(PackedAddresses("many", Values{"a"})));
    EXPECT_TRUE(Read(PackedAddresses("", Values{"a"})));
    EXPECT_THAT(ips, IsEmpty());
}

TEST_F(IpList, AnEmptyListStillNeedsANestedMessage) {
    EXPECT_FALSE(Read(Packed("answer", {{"count", "0"}, {"multi_ip", "garbage"}})));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "cfgparser", "xmsg_unpack pXmsgIpData failed"}));
    EXPECT_EQ(messages.Count(), 0);
}

TEST_F(IpList, CountIsADecimalNumberThatEndsAtTheFirstOtherCharacter) {
    EXPECT_TRUE(Read(PackedAddresses(" 2 of 3", Values{"a", "b", "c"})));
    EXPECT_THAT(ips, ElementsAre(Pair("ip0", "a"), Pair("ip1", "b")));
}

TEST_F(IpList, AHugeCountEndsAtTheFirstMissingAddress) {
    for (const char* count : {"4611686018427387904", "99999999999999999999999"}) {
        ips.clear();
        EXPECT_FALSE(Read(PackedAddresses(count, Values{"a", "b"}))) << count;
        EXPECT_THAT(ips, ElementsAre(Pair("ip0", "a"), Pair("ip1", "b"))) << count;
    }
}

TEST_F(IpList, FailsAtAMissingAddressAndKeepsThoseBefore) {
    EXPECT_FALSE(Read(PackedAddresses("3", kxtest::Entries{{"ip0", "a"}, {"ip2", "c"}})));
    EXPECT_THAT(ips, ElementsAre(Pair("ip0", "a")));
    EXPECT_THAT(LoggedLines(), IsEmpty());
    EXPECT_EQ(messages.Count(), 0);
}

TEST_F(IpList, SkipsAnAddressOfSixtyFourBytesAndGoesOn) {
    EXPECT_TRUE(Read(PackedAddresses("3", Values{"a", std::string(64, 'x'), "c"})));
    EXPECT_THAT(ips, ElementsAre(Pair("ip0", "a"), Pair("ip2", "c")));
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(IpList, TakesAnAddressOfSixtyThreeBytes) {
    const std::string address(63, 'x');
    EXPECT_TRUE(Read(PackedAddresses("1", Values{address})));
    EXPECT_THAT(ips, ElementsAre(Pair("ip0", address)));
}

TEST_F(IpList, TakesAnEmptyAddress) {
    EXPECT_TRUE(Read(PackedAddresses("1", Values{""})));
    EXPECT_THAT(ips, ElementsAre(Pair("ip0", "")));
}

TEST_F(IpList, AnAddressEndsAtAZeroByte) {
    EXPECT_TRUE(Read(PackedAddresses("1", Values{"a\0"s + std::string(100, 'x')})));
    EXPECT_THAT(ips, ElementsAre(Pair("ip0", "a")));
}

TEST_F(IpList, AKeyThatIsThereKeepsItsValue) {
    ips = {{"ip0", "first"}};
    EXPECT_TRUE(Read(PackedAddresses("2", Values{"a", "b"})));
    EXPECT_THAT(ips, ElementsAre(Pair("ip0", "first"), Pair("ip1", "b")));
}

// The library refuses such a message, so no two readers of it can see different addresses.
TEST_F(IpList, WithOneKeyTwiceCannotBeRead) {
    std::string nested = Packed("n", {{"ip0", "a"}, {"ip9", "b"}});
    nested.replace(nested.find("ip9"), 3, "ip0");
    EXPECT_FALSE(Read(Packed("answer", {{"count", "1"}, {"multi_ip", nested}})));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "cfgparser", "xmsg_unpack pXmsgIpData failed"}));
    EXPECT_THAT(ips, IsEmpty());
    EXPECT_EQ(messages.Count(), 0);
}

TEST_F(IpList, WithTwoCountsCannotBeRead) {
    std::string answer =
        Packed("a", {{"count", "1"}, {"counT", "2"}, {"multi_ip", Packed("n", {})}});
    answer.replace(answer.find("counT"), 5, "count");
    EXPECT_FALSE(Read(answer));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "cfgparser", "xmsg_unpack pXmsgData failed"}));
    EXPECT_EQ(messages.Count(), 0);
}

TEST_F(IpList, NeedsAMessage) {
    EXPECT_FALSE(Read("garbage"));
    EXPECT_FALSE(GetIpConfInfo(nullptr, 0, ips));
    const LogLine line{2, "cfgparser", "xmsg_unpack pXmsgData failed"};
    EXPECT_THAT(LoggedLines(), ElementsAre(line, line));
}

TEST_F(IpList, FailsSilentlyWithoutACount) {
    EXPECT_FALSE(Read(Packed("answer", {{"multi_ip", Packed("x", {})}})));
    EXPECT_THAT(LoggedLines(), IsEmpty());
    EXPECT_EQ(messages.Count(), 0);
}

TEST_F(IpList, FailsSilentlyWithoutANestedMessage) {
    EXPECT_FALSE(Read(Packed("answer", {{"count", "1"}})));
    EXPECT_THAT(LoggedLines(), IsEmpty());
    EXPECT_EQ(messages.Count(), 0);
}

// Deliberate: the nested message is unpacked with the length of the outer one, which is more than
// the value has.
TEST_F(IpList, UnpacksTheNestedMessageWithTheOuterLength) {
    const std::string bytes = PackedAddresses("1", Values{"a"});
    std::vector<uint32_t> lengths;
    const auto unpack = Agent().xmsg_unpack;
    Agent().xmsg_unpack = [&](const char* data, uint32_t len) {
        lengths.push_back(len);
        return unpack(data, len);
    };
    EXPECT_TRUE(Read(bytes));
    EXPECT_THAT(lengths, ElementsAre(kxtest::Size(bytes), kxtest::Size(bytes)));
}

// A nested message that claims to be longer than its value reads on into its neighbour, and no
// further than the outer message.
TEST_F(IpList, ANestedMessageThatOverstatesItsLengthDoesNoHarm) {
    std::string nested = Packed("n", {{"ip0", "10.0.0.1"}});
    for (const char claimed : {'\xFF', '\x80', '\x40'}) {
        nested[11] = claimed;
        EXPECT_FALSE(Read(Packed("answer", {{"count", "1"}, {"multi_ip", nested}})));
    }
    EXPECT_THAT(ips, IsEmpty());
    EXPECT_EQ(messages.Count(), 0);
}

TEST(IpKey, IsTheIndexBehindIp) {
    EXPECT_EQ(Key(0), "ip0");
    EXPECT_EQ(Key(11), "ip11");
    EXPECT_EQ(Key(9999999), "ip9999999");
}

TEST(IpKey, OfALargeIndexIsCutToNineCharacters) {
    EXPECT_EQ(Key(10000000), "ip1000000");
    EXPECT_EQ(Key(12345678), "ip1234567");
    EXPECT_EQ(Key(LONG_MAX), "ip9223372");
}
