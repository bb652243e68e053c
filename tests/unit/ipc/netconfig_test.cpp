// The mirror of the manager addresses, on the real INI and lock libraries.
#include <filesystem>
#include <string>

#include "ipc/cfgparser.h"
#include "ipc/cfgrequest.h"
#include "ipc_fixture.h"
#include "text.h"

namespace fs = std::filesystem;
using kxtest::LoggedLines;
using kxtest::LogLine;
using kxtest::PackedAddresses;
using kxtest::ReadFile;
using kxtest::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Values = std::vector<std::string>;

class NetConfig : public kxtest::IpcTest {
  protected:
    void SetUp() override {
        IpcTest::SetUp();
        fs::create_directory(kxtest::InstallationRoot() / "config");
    }

    static bool Mirror(const std::string& answer) {
        return ParseCfgcGlobalIp(answer.data(), kxtest::Size(answer));
    }
    std::string Content() const { return ReadFile(file); }

    const fs::path file = kxtest::InstallationRoot() / "config/net_config.ini";
};

}  // namespace

TEST_F(NetConfig, IsMadeWhenItIsMissing) {
    EXPECT_TRUE(Mirror(PackedAddresses("2", Values{"10.0.0.1", "fe80::1"})));
    EXPECT_EQ(Content(), "[multi_ip]\ncounts=2\nip0=10.0.0.1\nip1=fe80::1\n");
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(NetConfig, GetsItsSectionReplacedAndKeepsTheOthers) {
    WriteFile("config/net_config.ini",
              "; kept\n[proxy]\nport=1\n[multi_ip]\ncounts=1\nip0=old\nip7=old\n[last]\na=b\n");
    EXPECT_TRUE(Mirror(PackedAddresses("1", Values{"10.0.0.1"})));
    EXPECT_EQ(kxtest::WithoutEmptyLines(Content()),
              "; kept\n[proxy]\nport=1\n[multi_ip]\ncounts=1\nip0=10.0.0.1\n[last]\na=b\n");
}

TEST_F(NetConfig, ListsNothingForACountOfZero) {
    EXPECT_TRUE(Mirror(PackedAddresses("0", Values{"10.0.0.1"})));
    EXPECT_EQ(Content(), "[multi_ip]\ncounts=0\n");
}

TEST_F(NetConfig, ListsNothingForANegativeCount) {
    EXPECT_TRUE(Mirror(PackedAddresses("-1", Values{"10.0.0.1"})));
    EXPECT_EQ(Content(), "[multi_ip]\ncounts=0\n");
}

TEST_F(NetConfig, IsInTheByteOrderOfTheKeys) {
    EXPECT_TRUE(Mirror(PackedAddresses(
        "12", Values{"a0", "a1", "a2", "a3", "a4", "a5", "a6", "a7", "a8", "a9", "a10", "a11"})));
    EXPECT_EQ(Content(),
              "[multi_ip]\ncounts=12\nip0=a0\nip1=a1\nip10=a10\nip11=a11\nip2=a2\nip3=a3\nip4=a4\n"
              "ip5=a5\nip6=a6\nip7=a7\nip8=a8\nip9=a9\n");
}

// The keys keep the indices of the answer, and the count is that of what is written.
TEST_F(NetConfig, HasAGapWhereAnAddressWasTooLong) {
    EXPECT_TRUE(Mirror(PackedAddresses("3", Values{"a", std::string(64, 'x'), "c"})));
    EXPECT_EQ(Content(), "[multi_ip]\ncounts=2\nip0=a\nip2=c\n");
}

TEST_F(NetConfig, HoldsAnAddressOfSixtyThreeBytes) {
    const std::string address(63, 'x');
    EXPECT_TRUE(Mirror(PackedAddresses("1", Values{address})));
    EXPECT_EQ(Content(), "[multi_ip]\ncounts=1\nip0=" + address + "\n");
}

TEST_F(NetConfig, CannotBeGivenFurtherLinesByAnAddress) {
    EXPECT_TRUE(Mirror(PackedAddresses("1", Values{"10.0.0.1\n[proxy]\nport=666"})));
    EXPECT_EQ(Content(), "[multi_ip]\ncounts=1\n");
}

TEST_F(NetConfig, IsUntouchedWhenAnAddressIsMissing) {
    WriteFile("config/net_config.ini", "[multi_ip]\ncounts=1\nip0=old\n");
    EXPECT_FALSE(Mirror(PackedAddresses("3", kxtest::Entries{{"ip0", "a"}, {"ip2", "c"}})));
    EXPECT_EQ(Content(), "[multi_ip]\ncounts=1\nip0=old\n");
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "cfgparser", "get ip from cfgc failed"}));
}

TEST_F(NetConfig, IsNotMadeForAnUnreadableAnswer) {
    EXPECT_FALSE(Mirror("garbage"));
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(NetConfig, ThatIsMadeIsReadableByAll) {
    EXPECT_TRUE(Mirror(PackedAddresses("0", Values{})));
    EXPECT_EQ(fs::status(file).permissions() & fs::perms(0444), fs::perms(0444));
}

TEST_F(NetConfig, CannotBeMadeInAMissingDirectory) {
    fs::remove(kxtest::InstallationRoot() / "config");
    EXPECT_FALSE(Mirror(PackedAddresses("0", Values{})));
    const std::string path = (kxtest::InstallationRoot() / "bin/../config/net_config.ini").string();
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "cfgparser",
                                    "Failed to create file: " + path + " with error code: 2\n"},
                            LogLine{2, "cfgparser", "load file " + path + " failed"}));
}

TEST_F(NetConfig, IsNotMadeThroughALinkThatLeadsNowhere) {
    fs::create_symlink("../elsewhere", file);
    EXPECT_FALSE(Mirror(PackedAddresses("0", Values{})));
    EXPECT_FALSE(fs::exists(kxtest::InstallationRoot() / "elsewhere"));
}

TEST_F(NetConfig, IsUntouchedWhenItCannotBeLoaded) {
    const std::string broken("[multi_ip]\n\0", 12);
    WriteFile("config/net_config.ini", broken);
    EXPECT_FALSE(Mirror(PackedAddresses("0", Values{})));
    EXPECT_EQ(Content(), broken);
}

TEST_F(NetConfig, IsWrittenAgainByTheNextAnswer) {
    EXPECT_TRUE(Mirror(PackedAddresses("1", Values{"a"})));
    EXPECT_TRUE(Mirror(PackedAddresses("1", Values{"b"})));
    EXPECT_EQ(Content(), "[multi_ip]\ncounts=1\nip0=b\n");
}

TEST_F(NetConfig, IsWrittenUponAnAnswerForTheGlobalSection) {
    const std::string answer = PackedAddresses("1", Values{"10.0.0.1"});
    IpcOnCfgcResponse(0, 1004, answer.data(), kxtest::Size(answer), reinterpret_cast<void*>(2));
    EXPECT_EQ(Content(), "[multi_ip]\ncounts=1\nip0=10.0.0.1\n");
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{3, "kxepinfo", "write multi ip success"}));
}
