// When the adapters count as changed, and what the comparison does to the lists.
#include <algorithm>

#include "collectors/netinfo.h"
#include "netinfo_fixture.h"

using kxtest::Adapter;
using kxtest::Adapters;
using kxtest::List;
using kxtest::LoggedLines;
using kxtest::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

LogLine Information(const char* text) {
    return {3, "kxepinfo", text};
}

class AdapterChange : public kxtest::NetInfoTest {
  protected:
    void ExpectEqual() {
        EXPECT_FALSE(IsNetInfoChanged(previous, current));
        EXPECT_THAT(LoggedLines(), IsEmpty());
    }

    void ExpectChange(const std::vector<LogLine>& lines) {
        EXPECT_TRUE(IsNetInfoChanged(previous, current));
        EXPECT_EQ(LoggedLines(), lines);
    }

    Adapters previous{Adapter("eth0", {"10.0.0.1", "10.0.0.2"}, {"fd00::1", "fd00::2"}),
                      Adapter("eth1", {"10.0.1.1"})};
    Adapters current = previous;
};

}  // namespace

TEST_F(AdapterChange, IsNotBetweenTwoEmptyLists) {
    previous.clear();
    current.clear();
    ExpectEqual();
}

TEST_F(AdapterChange, IsNotBetweenEqualLists) {
    ExpectEqual();
}

TEST_F(AdapterChange, IsNotAnotherOrderOfAdapters) {
    std::reverse(current.begin(), current.end());
    ExpectEqual();
}

TEST_F(AdapterChange, IsNotAnotherOrderOfAddresses) {
    std::reverse(current[0].if_ipv4.begin(), current[0].if_ipv4.end());
    std::reverse(current[0].if_ipv6.begin(), current[0].if_ipv6.end());
    ExpectEqual();
}

TEST_F(AdapterChange, IsAnAdapterMore) {
    current.push_back(Adapter("eth2", {}));
    ExpectChange({Information("adapters information has changed\n")});
}

TEST_F(AdapterChange, IsAnAdapterLess) {
    current.pop_back();
    ExpectChange({Information("adapters information has changed\n")});
}

// At level 2, unlike the others.
TEST_F(AdapterChange, IsAnAdapterInPlaceOfAnother) {
    current[1].if_name = "eth9";
    ExpectChange({{2, "kxepinfo", "adapter name has changed, new adapter name: eth9\n"}});
}

TEST_F(AdapterChange, IsAnotherHardwareAddress) {
    current[1].if_mac = "02-00-00-00-00-0A";
    ExpectChange({Information("mac information has changed\n"),
                  Information("new mac: 02-00-00-00-00-0A\n")});
}

TEST_F(AdapterChange, IsAHardwareAddressInLowerCase) {
    previous[1].if_mac = "0A";
    current[1].if_mac = "0a";
    ExpectChange({Information("mac information has changed\n"), Information("new mac: 0a\n")});
}

TEST_F(AdapterChange, IsAnotherIpv4Address) {
    current[1].if_ipv4 = {"10.0.1.2"};
    ExpectChange({Information("Ip V4 information has changed\n")});
}

TEST_F(AdapterChange, IsAnIpv4AddressMore) {
    current[1].if_ipv4.emplace_back("10.0.1.2");
    ExpectChange({Information("Ip V4 information has changed\n")});
}

TEST_F(AdapterChange, IsAnotherIpv6Address) {
    current[0].if_ipv6 = {"fd00::1", "fd00::3"};
    ExpectChange({Information("Ip v6 information has changed\n")});
}

TEST_F(AdapterChange, IsAnIpv6AddressLess) {
    current[0].if_ipv6.pop_back();
    ExpectChange({Information("Ip v6 information has changed\n")});
}

TEST_F(AdapterChange, IsAnAddressThatIsThereTwiceInPlaceOfAnother) {
    previous[0].if_ipv4 = {"a", "a", "b"};
    current[0].if_ipv4 = {"a", "b", "b"};
    ExpectChange({Information("Ip V4 information has changed\n")});
}

TEST_F(AdapterChange, IsToldOnceForTheFirstDifferenceInTheOrderOfTheCurrentList) {
    current = {Adapter("eth1", {"10.0.1.1"}, {"fd00::9"}), Adapter("eth9", {})};
    ExpectChange({Information("Ip v6 information has changed\n")});
}

TEST_F(AdapterChange, IsToldOfTheHardwareAddressBeforeTheAddresses) {
    current[0].if_mac = "x";
    current[0].if_ipv4.clear();
    current[0].if_ipv6.clear();
    ExpectChange({Information("mac information has changed\n"), Information("new mac: x\n")});
}

TEST_F(AdapterChange, IsLookedForInTheFirstAdapterOfAName) {
    previous = {Adapter("eth0", {"a"}), Adapter("eth0", {"b"}), Adapter("eth1", {"c"})};
    current = {Adapter("eth0", {"a"}), Adapter("eth1", {"c"}), Adapter("eth0", {"a"})};
    ExpectEqual();
    current[2].if_ipv4 = {"b"};
    ExpectChange({Information("Ip V4 information has changed\n")});
}

TEST_F(AdapterChange, SortsTheAddressesOfBothLists) {
    previous = {Adapter("eth0", {"10.0.0.9", "10.0.0.10"}, {"b", "a"})};
    current = {Adapter("eth0", {"10.0.0.9", "10.0.0.10"}, {"b", "a"})};
    ExpectEqual();
    const auto sorted = List({Adapter("eth0", {"10.0.0.10", "10.0.0.9"}, {"a", "b"})});
    EXPECT_EQ(List(previous), sorted);
    EXPECT_EQ(List(current), sorted);
}

TEST_F(AdapterChange, SortsNothingOfUnequalLength) {
    previous = {Adapter("eth0", {"b", "a"}, {"d", "c"})};
    current = {Adapter("eth0", {"c", "b", "a"}, {"d", "c"})};
    const auto before = std::make_pair(List(previous), List(current));
    ExpectChange({Information("Ip V4 information has changed\n")});
    EXPECT_EQ(std::make_pair(List(previous), List(current)), before);
}

TEST_F(AdapterChange, SortsWhatDiffersAndNothingBehindIt) {
    previous = {Adapter("eth0", {"b", "a"}, {"d", "c"}), Adapter("eth1", {"f", "e"})};
    current = {Adapter("eth0", {"b", "x"}, {"d", "c"}), Adapter("eth1", {"f", "e"})};
    ExpectChange({Information("Ip V4 information has changed\n")});
    EXPECT_EQ(List(previous),
              List({Adapter("eth0", {"a", "b"}, {"d", "c"}), Adapter("eth1", {"f", "e"})}));
    EXPECT_EQ(List(current),
              List({Adapter("eth0", {"b", "x"}, {"d", "c"}), Adapter("eth1", {"f", "e"})}));
}

TEST_F(AdapterChange, IsFoundAmongThousands) {
    previous.clear();
    for (int i = 0; i < 3000; ++i) {
        previous.push_back(Adapter("veth" + std::to_string(i), {"10.0.0.1"}));
    }
    current.assign(previous.rbegin(), previous.rend());
    ExpectEqual();
    current[1234].if_mac = "x";
    ExpectChange({Information("mac information has changed\n"), Information("new mac: x\n")});
}

TEST_F(AdapterChange, IsTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(0);
    for (const auto& change : {Adapter("eth9", {}), Adapter("eth1", {}, {}, "x"),
                               Adapter("eth1", {}), Adapter("eth1", {"10.0.1.1"}, {"a"})}) {
        current[1] = change;
        EXPECT_TRUE(IsNetInfoChanged(previous, current));
    }
    current.clear();
    EXPECT_TRUE(IsNetInfoChanged(previous, current));
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
