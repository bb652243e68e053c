// Which sections an upload carries, and when.
#include <functional>

#include "quiet_machine.h"

namespace kxtest {
namespace {

class QuietMachine : public QuietMachineTest {
  protected:
    void SetUp() override {
        QuietMachineTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        StartManager();
        StartQuickHost();
        ASSERT_EQ(Cmd(0), 14);
    }

    // The first upload whose cmd is not 2, among the next ten; its number in `number`.
    Json NextChange(std::size_t& number) {
        for (const std::size_t end = number + 10; number < end; ++number) {
            Json upload = Upload(number);
            if (Number(upload.get(), "epinfo.cmd") != 2) {
                return upload;
            }
        }
        return nullptr;
    }

    // Makes a change, expects exactly one upload of that cmd and none in the three behind it.
    Json OneUploadTells(long long cmd, const std::function<void()>& change) {
        std::size_t number = UploadCount();
        change();
        Json upload = NextChange(number);
        EXPECT_EQ(Number(upload.get(), "epinfo.cmd"), cmd);
        for (std::size_t next = number + 1; next <= number + 3; ++next) {
            EXPECT_EQ(Cmd(next), 2) << "upload " << next << " after " << number;
        }
        return upload;
    }
};

const char* const kChange = "epinfo.sys_info.change.is_changed";

TEST_F(QuietMachine, TellsAgentFactsIn3OfItsFirst40Uploads) {
    std::vector<long long> commands;
    for (std::size_t number = 0; number < 40; ++number) {
        commands.push_back(Cmd(number));
    }
    std::vector<long long> expected(40, 2);
    expected[0] = 14;
    expected[16] = expected[32] = 6;
    EXPECT_EQ(commands, expected);
    EXPECT_EQ(Text(Upload(0).get(), kChange), "IS_CHANGED");
    EXPECT_EQ(Text(Upload(16).get(), kChange), "NOT_CHANGED");
}

TEST_F(QuietMachine, TellsALogin) {
    const Json upload = OneUploadTells(10, [] { LogIn("bob", 1700000100); });
    EXPECT_THAT(Text(upload.get(), "epinfo.login_info.usr_info.0.login_name"),
                testing::StartsWith("bob"));
}

TEST_F(QuietMachine, TellsALogout) {
    const Json upload = OneUploadTells(10, [] { AddLogin(DEAD_PROCESS, "", "", 1700000200); });
    EXPECT_EQ(Text(upload.get(), "epinfo.login_info.usr_info.0.login_name"), std::string(32, '\0'));
}

TEST_F(QuietMachine, TellsAnAddressThatIsAdded) {
    OneUploadTells(6, [] { ASSERT_TRUE(Ip("addr add 10.1.0.7/24 dev a0")); });
    EXPECT_TRUE(Logs("Ip V4 information has changed"));
    EXPECT_TRUE(Logs(R"(bp ip change :{"type": 601, "ip": ["10.1.0.7"]})"));
}

TEST_F(QuietMachine, TellsAnAdapterThatGoesDown) {
    const Json upload = OneUploadTells(6, [] { ASSERT_TRUE(Ip("link set b0 down")); });
    EXPECT_EQ(json_array_size(Member(upload.get(), "epinfo.sys_info.nw_info.if_info")), 1U);
    EXPECT_TRUE(Logs("adapters information has changed"));
}

TEST_F(QuietMachine, TellsAVersionThatChangesOnDisk) {
    const Json upload = OneUploadTells(6, [this] {
        installation().write("config/agent_cfg.json",
                             R"({"version": {"components": "6.0.1", "plus": "R2", "virusdbs": "1",)"
                             R"( "patchdbs": "2", "ioadbs": "3", "iocdbs": "4"}})");
    });
    EXPECT_EQ(Text(upload.get(), "epinfo.sys_info.agent_info.agent_version"), "6.0.1 R2");
    EXPECT_TRUE(Logs("version information has changed"));
}

// Until the manager has answered over the new address, which may take an upload or two.
TEST_F(QuietMachine, TellsThatTheConnectAddressMoved) {
    std::size_t number = UploadCount();
    installation().write("var/connect.ini", "[connect]\nip=10.2.0.1\n");
    const Json upload = NextChange(number);
    EXPECT_EQ(Number(upload.get(), "epinfo.cmd"), 6);
    EXPECT_EQ(Text(upload.get(), "epinfo.sys_info.nw_info.if_info.0.if_ipv4.0"), "10.2.0.1");
    EXPECT_TRUE(json_is_true(Member(upload.get(), "epinfo.sys_info.nw_info.is_ip_changed")));
    EXPECT_TRUE(Logs("Connect IP is Changed, preConnIP is , curConnIP is 10.2.0.1"));
    EXPECT_TRUE(WaitUntil([&] { return Cmd(++number) == 2; }));
}

TEST_F(QuietMachine, DoesNotCountAnotherManagersAddressAsAChange) {
    const std::size_t number = UploadCount();
    installation().write("config/server.ini", "[config]\naddr=10.1.0.78\n");
    for (std::size_t next = number; next < number + 5; ++next) {
        EXPECT_EQ(Cmd(next), 2) << "upload " << next;
    }
    EXPECT_TRUE(Logs("mgr ip is 10.1.0.78"));
}

}  // namespace
}  // namespace kxtest
