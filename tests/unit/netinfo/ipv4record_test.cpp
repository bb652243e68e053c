// The record of IPv4 addresses: which are new, and what stands in the file afterwards.
#include <cerrno>
#include <filesystem>
#include <set>

#include "collectors/netinfo.h"
#include "netinfo_fixture.h"

using kxtest::Adapter;
using kxtest::Adapters;
using kxtest::Agent;
using kxtest::LoggedLines;
using kxtest::LogLine;
using kxtest::ReadFile;
using kxtest::Texts;
using kxtest::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

class Ipv4Record : public kxtest::NetInfoTest {
  protected:
    void SetUp() override {
        NetInfoTest::SetUp();
        WriteFile("config/server_port.ini", "");
    }

    void Recorded(const std::string& addresses) {
        WriteFile("config/server_port.ini", "[netinfo]\nipv4=" + addresses + "\n");
    }

    // What is new about these addresses, all of one adapter.
    static std::set<std::string> Record(const Texts& addresses) {
        return RecordAll({Adapter("eth0", addresses)});
    }
    static std::set<std::string> RecordAll(const Adapters& adapters) {
        std::set<std::string> added{"stale"};
        RecordIpv4Addresses(adapters, added);
        return added;
    }

    std::string Content() const { return ReadFile(file); }

    // As a process that begins.
    static void Restart() {
        s_recordedIpv4.clear();
        s_ipv4RecordRead = false;
    }

    const fs::path file = kxtest::InstallationRoot() / "config/server_port.ini";
};

// Addresses of one length in ascending order.
Texts ManyAddresses(int count) {
    Texts addresses;
    for (int i = 0; i < count; ++i) {
        addresses.push_back("10." + std::to_string(100 + i / 800) + "." +
                            std::to_string(100 + i / 100 % 8) + "." +
                            std::to_string(100 + i % 100));
    }
    return addresses;
}

}  // namespace

TEST_F(Ipv4Record, WithoutItsKeyMakesEveryAddressNewAndIsWritten) {
    EXPECT_THAT(Record({"10.0.0.2", "10.0.0.1"}), ElementsAre("10.0.0.1", "10.0.0.2"));
    EXPECT_EQ(Content(), "[netinfo]\nipv4=10.0.0.1,10.0.0.2\n");
}

TEST_F(Ipv4Record, MakesRecordedAddressesNotNewAndStaysUntouched) {
    const std::string content = "[netinfo]\nipv4 = 10.0.0.2,10.0.0.1\n\n";
    WriteFile("config/server_port.ini", content);
    EXPECT_THAT(Record({"10.0.0.1", "10.0.0.2"}), IsEmpty());
    EXPECT_EQ(Content(), content);
}

TEST_F(Ipv4Record, GivesTheNewAddressesAndHasAllOfThem) {
    Recorded("10.0.0.1,10.0.0.3,10.0.0.4");
    EXPECT_THAT(Record({"10.0.0.1", "10.0.0.2", "10.0.0.3"}), ElementsAre("10.0.0.2"));
    EXPECT_EQ(Content(), "[netinfo]\nipv4=10.0.0.1,10.0.0.2,10.0.0.3\n");
}

TEST_F(Ipv4Record, ComparesWithTheCallBeforeAfterTheFirst) {
    EXPECT_THAT(Record({"10.0.0.1"}), ElementsAre("10.0.0.1"));
    EXPECT_THAT(Record({"10.0.0.1"}), IsEmpty());
    EXPECT_THAT(Record({"10.0.0.1", "10.0.0.2"}), ElementsAre("10.0.0.2"));
}

TEST_F(Ipv4Record, MakesAnAddressThatWasGoneNewAgain) {
    Record({"10.0.0.1", "10.0.0.2"});
    EXPECT_THAT(Record({"10.0.0.1"}), IsEmpty());
    EXPECT_EQ(Content(), "[netinfo]\nipv4=10.0.0.1,10.0.0.2\n");
    EXPECT_THAT(Record({"10.0.0.1", "10.0.0.2"}), ElementsAre("10.0.0.2"));
}

TEST_F(Ipv4Record, MakesEveryAddressNewWhenThereWasNone) {
    Record({"10.0.0.1"});
    EXPECT_THAT(Record(Texts{}), IsEmpty());
    EXPECT_THAT(Record({"10.0.0.1", "10.0.0.2"}), ElementsAre("10.0.0.1", "10.0.0.2"));
}

TEST_F(Ipv4Record, OutlivesTheProcess) {
    Record({"10.0.0.1", "10.0.0.2"});
    Restart();
    EXPECT_THAT(Record({"10.0.0.2", "10.0.0.3"}), ElementsAre("10.0.0.3"));
}

TEST_F(Ipv4Record, IsReadByTheFirstCallAlone) {
    Record({"10.0.0.1"});
    Recorded("10.0.0.2");
    EXPECT_THAT(Record({"10.0.0.2"}), ElementsAre("10.0.0.2"));
}

TEST_F(Ipv4Record, WithoutItsKeyCountsAsRead) {
    EXPECT_THAT(Record(Texts{}), IsEmpty());
    Recorded("10.0.0.1");
    EXPECT_THAT(Record({"10.0.0.1"}), ElementsAre("10.0.0.1"));
}

TEST_F(Ipv4Record, ThatIsMissingReportsAndRemembersNothing) {
    fs::remove(file);
    EXPECT_THAT(Record({"10.0.0.1"}), IsEmpty());
    EXPECT_FALSE(fs::exists(file));
    EXPECT_THAT(LoggedLines(), IsEmpty());
    EXPECT_THAT(s_recordedIpv4, IsEmpty());
}

TEST_F(Ipv4Record, IsReadByTheFirstCallThatCanLoadIt) {
    fs::remove(file);
    EXPECT_THAT(Record({"10.0.0.1"}), IsEmpty());
    Recorded("10.0.0.1");
    EXPECT_THAT(Record({"10.0.0.1", "10.0.0.2"}), ElementsAre("10.0.0.2"));
}

TEST_F(Ipv4Record, ThatCannotBeLoadedLaterKeepsWhatIsRemembered) {
    Record({"10.0.0.1"});
    fs::remove(file);
    EXPECT_THAT(Record({"10.0.0.2"}), IsEmpty());
    WriteFile("config/server_port.ini", "");
    EXPECT_THAT(Record({"10.0.0.1", "10.0.0.2"}), ElementsAre("10.0.0.2"));
}

TEST_F(Ipv4Record, TakesTheAddressesOfAllAdaptersOnceEach) {
    EXPECT_THAT(RecordAll({Adapter("eth0", {"10.0.0.2", "10.0.0.1"}, {"fd00::1"}),
                           Adapter("eth1", {}), Adapter("eth2", {"10.0.0.1", "10.0.0.0"})}),
                ElementsAre("10.0.0.0", "10.0.0.1", "10.0.0.2"));
    EXPECT_EQ(Content(), "[netinfo]\nipv4=10.0.0.0,10.0.0.1,10.0.0.2\n");
}

TEST_F(Ipv4Record, LogsEachAddressAsItIsTaken) {
    Recorded("10.0.0.1");
    RecordAll({Adapter("eth0", {"10.0.0.2", "10.0.0.1"}), Adapter("eth1", {"10.0.0.2"})});
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{4, "kxepinfo", "current ipv4 record 10.0.0.2"},
                                           LogLine{4, "kxepinfo", "current ipv4 record 10.0.0.1"},
                                           LogLine{4, "kxepinfo", "current ipv4 record 10.0.0.2"}));
}

TEST_F(Ipv4Record, IsInByteOrder) {
    Record({"9.0.0.1", "10.0.0.9", "10.0.0.10"});
    EXPECT_EQ(Content(), "[netinfo]\nipv4=10.0.0.10,10.0.0.9,9.0.0.1\n");
}

TEST_F(Ipv4Record, IsSplitAtEveryComma) {
    Recorded(",10.0.0.1,,10.0.0.2,");
    EXPECT_THAT(Record({"10.0.0.1", "10.0.0.2", ""}), IsEmpty());
}

TEST_F(Ipv4Record, ThatIsEmptyIsOneEmptyPiece) {
    Recorded("");
    EXPECT_THAT(Record({"", "10.0.0.1"}), ElementsAre("10.0.0.1"));
    EXPECT_EQ(Content(), "[netinfo]\nipv4=,10.0.0.1\n");
}

TEST_F(Ipv4Record, KeepsTheBlanksOfAPiece) {
    Recorded("10.0.0.1, 10.0.0.2");
    EXPECT_THAT(Record({"10.0.0.1", "10.0.0.2"}), ElementsAre("10.0.0.2"));
}

TEST_F(Ipv4Record, LeavesTheRestOfTheFile) {
    WriteFile("config/server_port.ini",
              "; ports\n[port]\nmgr=443\n[netinfo]\nipv4=10.0.0.1\nmask=1\n");
    Record({"10.0.0.2"});
    const std::string content = Content();
    EXPECT_THAT(content, testing::HasSubstr("; ports\n"));
    EXPECT_THAT(content, testing::HasSubstr("[port]\nmgr=443\n"));
    EXPECT_THAT(content, testing::HasSubstr("[netinfo]\nipv4=10.0.0.2\nmask=1\n"));
}

// 273 addresses of 14 bytes and their commas make 4094 bytes, so of the next one only the comma
// fits. What is lost is new again after a restart.
TEST_F(Ipv4Record, IsCutAt4095Bytes) {
    const Texts addresses = ManyAddresses(300);
    EXPECT_EQ(Record(addresses).size(), 300U);
    const std::string head = "[netinfo]\nipv4=";
    const std::string content = Content();
    EXPECT_EQ(content.size(), head.size() + 4095 + 1);
    EXPECT_TRUE(content.ends_with("," + addresses[272] + ",\n"));
    EXPECT_THAT(Record(addresses), IsEmpty());
    Restart();
    EXPECT_THAT(Record(addresses),
                testing::ElementsAreArray(addresses.begin() + 273, addresses.end()));
}

TEST_F(Ipv4Record, IsCutInTheMiddleOfAnAddress) {
    Texts addresses = ManyAddresses(274);
    addresses.insert(addresses.begin(), "1.1.1.1");
    Record(addresses);
    EXPECT_TRUE(
        Content().ends_with("," + addresses[272] + "," + addresses[273].substr(0, 7) + "\n"));
}

TEST_F(Ipv4Record, CutsAnAddressAfterTheFirstTo1022Bytes) {
    Record({"1.1.1.1", std::string(1030, '2'), "3.3.3.3"});
    EXPECT_EQ(Content(), "[netinfo]\nipv4=1.1.1.1," + std::string(1022, '2') + ",3.3.3.3\n");
}

TEST_F(Ipv4Record, CutsTheFirstAddressTo4095Bytes) {
    Record({std::string(5000, '1'), "3.3.3.3"});
    EXPECT_EQ(Content(), "[netinfo]\nipv4=" + std::string(4095, '1') + "\n");
}

TEST_F(Ipv4Record, ThatCannotBeSavedCountsAsTold) {
    Agent().kxe_ini_file_save = [](kxe_ini_file*, const char*, int) {
        errno = ENOSPC;
        return -1;
    };
    EXPECT_THAT(Record({"10.0.0.1"}), ElementsAre("10.0.0.1"));
    EXPECT_THAT(kxtest::LoggedLinesUpTo(3), IsEmpty());
    EXPECT_EQ(Content(), "");
    EXPECT_THAT(Record({"10.0.0.1"}), IsEmpty());
}

TEST_F(Ipv4Record, IsSavedToItsOwnPathAndReleased) {
    Texts steps;
    const std::string path =
        (kxtest::InstallationRoot() / "bin/../config/server_port.ini").string();
    Agent().kxe_ini_file_load = [&](const char* from) {
        EXPECT_EQ(from, path);
        steps.emplace_back("load");
        return reinterpret_cast<kxe_ini_file*>(this);
    };
    Agent().kxe_ini_file_get = [&](kxe_ini_file*, const char* section,
                                   const char* key) -> const char* {
        steps.push_back(std::string("get ") + section + " " + key);
        return nullptr;
    };
    Agent().kxe_ini_file_set = [&](kxe_ini_file*, const char* section, const char* key,
                                   const char* value) {
        steps.push_back(std::string("set ") + section + " " + key + "=" + value);
        return 0;
    };
    Agent().kxe_ini_file_save = [&](kxe_ini_file*, const char* to, int flags) {
        EXPECT_EQ(to, path);
        steps.push_back("save " + std::to_string(flags));
        return 0;
    };
    Agent().kxe_ini_file_free = [&](kxe_ini_file*) { steps.emplace_back("free"); };
    Record({"10.0.0.1"});
    Record({"10.0.0.1"});
    EXPECT_THAT(steps, ElementsAre("load", "get netinfo ipv4", "set netinfo ipv4=10.0.0.1",
                                   "save 0", "free", "load", "free"));
}

TEST_F(Ipv4Record, IsTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(0);
    EXPECT_THAT(Record({"10.0.0.1"}), ElementsAre("10.0.0.1"));
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
