// Who may connect. The tests with another user need root's rights to become one.
#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "access_rule.h"
#include "server.h"

namespace fs = std::filesystem;

namespace {

using kxtest::LogLine;
using noxipc::AccessRule;
using noxipc::ParseGroups;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr uid_t kStranger = 65534;

ucred Credentials(uid_t user, gid_t group) {
    return {.pid = 1, .uid = user, .gid = group};
}

class AccessTest : public BusTest {};

TEST_F(AccessTest, IsForTheSameUserAndRoot) {
    const AccessRule rule;
    EXPECT_TRUE(rule.Allows(Credentials(geteuid(), 12345), {}));
    EXPECT_TRUE(rule.Allows(Credentials(0, 12345), {}));
    EXPECT_FALSE(rule.Allows(Credentials(geteuid() + 1, getegid()), {getegid()}));
}

TEST_F(AccessTest, IsForTheMembersOfAllowedGroupsToo) {
    const AccessRule rule({100, 200});
    EXPECT_TRUE(rule.Allows(Credentials(kStranger, 200), {}));
    EXPECT_TRUE(rule.Allows(Credentials(kStranger, 5), {4, 100}));
    EXPECT_FALSE(rule.Allows(Credentials(kStranger, 5), {4, 6}));
}

TEST_F(AccessTest, GroupsAreNumbersWithCommasBetween) {
    EXPECT_THAT(ParseGroups("100"), ElementsAre(100U));
    EXPECT_THAT(ParseGroups(" 100 ,200,\t4294967294"), ElementsAre(100U, 200U, 4294967294U));
    EXPECT_THAT(ParseGroups(""), IsEmpty());
    EXPECT_THAT(ParseGroups(",, ,"), IsEmpty());
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(AccessTest, WhatIsNotAGroupIdAllowsNobodyAndIsLogged) {
    EXPECT_THAT(ParseGroups("users,-1,4294967295,4294967296,1x,7"), ElementsAre(7U));
    const auto line = [](const std::string& text) {
        return LogLine{2, "noxipc", "allowed_gids: \"" + text + "\" is not a group id"};
    };
    EXPECT_THAT(kxtest::LoggedLines(), ElementsAre(line("users"), line("-1"), line("4294967295"),
                                                   line("4294967296"), line("1x")));
}

TEST_F(AccessTest, TheRuleComesFromTheInstallation) {
    EXPECT_THAT(AccessRule::Load().allowed(), IsEmpty());
    kxtest::WriteFile("config/ipc.ini", "[ipc]\nallowed_gids = 100, 200\n");
    EXPECT_THAT(AccessRule::Load().allowed(), ElementsAre(100U, 200U));
    kxtest::WriteFile("config/ipc.ini", "[ipc]\nother = 1\n");
    EXPECT_THAT(AccessRule::Load().allowed(), IsEmpty());
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(AccessTest, AFileThatCannotBeReadAllowsNobodyAndIsLogged) {
    kxtest::WriteFile("config/ipc.ini", std::string("[ipc]\nallowed_gids=1\n\0", 22));
    EXPECT_THAT(AccessRule::Load().allowed(), IsEmpty());
    const std::string path = kxtest::InstallationRoot() / "bin/../config/ipc.ini";
    EXPECT_THAT(kxtest::LoggedLines(),
                ElementsAre(LogLine{2, "noxipc", path + " cannot be read: Invalid argument"}));
}

class StrangerTest : public AccessTest {
  protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "only root can become another user";
        }
        AccessTest::SetUp();
    }

    // In a child that has become another user, with the bus's directory as its working directory,
    // so that nothing but that directory's mode stands in its way.
    static bool BecomeStranger() {
        return chdir(BusPath("").c_str()) == 0 && setgroups(0, nullptr) == 0 &&
               setgid(kStranger) == 0 && setuid(kStranger) == 0;
    }

    // Takes that right from this thread or gives it back.
    static bool MayGiveFilesAway(bool may) {
        __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
        __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
        if (syscall(SYS_capget, &header, sets) != 0) {
            return false;
        }
        constexpr unsigned kRight = 1U << CAP_CHOWN;
        sets[0].effective = may ? sets[0].effective | kRight : sets[0].effective & ~kRight;
        return syscall(SYS_capset, &header, sets) == 0;
    }

    static sockaddr_un Address() {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, "server.sock");
        return address;
    }

    enum Result : int { kConnected = 10, kDropped = 11, kKeptOut = 12, kBroken = 13 };

    // Connects as the stranger and tells what came of it.
    static int Connect(const std::function<void()>& ready) {
        const sockaddr_un address = Address();
        const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        if (!BecomeStranger()) {
            return kBroken;
        }
        if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            return errno == EACCES ? kKeptOut : kBroken;
        }
        ready();
        pollfd closed = {socket, POLLIN, 0};
        return poll(&closed, 1, 2000) == 0 ? kConnected : kDropped;
    }

    static mode_t Mode(const std::string& file, gid_t* group) {
        struct stat status = {};
        EXPECT_EQ(0, stat(BusPath(file).c_str(), &status));
        *group = status.st_gid;
        return status.st_mode & 07777U;
    }
};

TEST_F(StrangerTest, CannotReachASocket) {
    const Server server("server");
    Child stranger(Connect);
    EXPECT_EQ(kKeptOut, WEXITSTATUS(stranger.Wait()));
}

TEST_F(StrangerTest, IsDroppedEvenWhereTheFilesAreOpenToAll) {
    Server server("server");
    fs::permissions(BusPath(""), fs::perms(0777));
    fs::permissions(BusPath("server.sock"), fs::perms(0777));
    Child stranger(Connect);
    RunUntil([] { return !kxtest::LoggedLines().empty(); });
    const std::string text =
        "process " + std::to_string(stranger.pid()) + " of user 65534 may not use the bus";
    EXPECT_EQ(kDropped, WEXITSTATUS(stranger.Wait()));
    EXPECT_THAT(kxtest::LoggedLines(), ElementsAre(LogLine{2, "noxipc", text}));
}

TEST_F(StrangerTest, OfAnAllowedGroupMayConnect) {
    kxtest::WriteFile("config/ipc.ini", "[ipc]\nallowed_gids=65534\n");
    Server server("server");
    gid_t group = 0;
    EXPECT_EQ(mode_t{01770}, Mode("", &group));
    EXPECT_EQ(kStranger, group);
    EXPECT_EQ(mode_t{0660}, Mode("server.sock", &group));
    EXPECT_EQ(kStranger, group);
    Child stranger(Connect);
    RunWhatIsDue();
    EXPECT_EQ(kConnected, WEXITSTATUS(stranger.Wait()));
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

// As in a container that takes the right to give files away from root, too.
TEST_F(StrangerTest, OfAnAllowedGroupStaysOutWhenTheGroupCannotBeGivenTheFiles) {
    kxtest::WriteFile("config/ipc.ini", "[ipc]\nallowed_gids=65534\n");
    ASSERT_TRUE(MayGiveFilesAway(false));
    const Server server("server");
    ASSERT_TRUE(MayGiveFilesAway(true));
    Child stranger(Connect);
    EXPECT_EQ(kKeptOut, WEXITSTATUS(stranger.Wait()));
    const auto line = [](const std::string& file) {
        return LogLine{2, "noxipc",
                       file + " cannot be given to group 65534: Operation not permitted"};
    };
    const std::string directory = kxtest::InstallationRoot() / "bin/../var/run/ipc";
    EXPECT_THAT(kxtest::LoggedLines(), ElementsAre(line(directory), line("server.sock")));
}

TEST_F(StrangerTest, ThatListensUnderANameIsNotTalkedTo) {
    const Instance client = Join("client");
    fs::permissions(BusPath(""), fs::perms(0777));
    const Child stranger([](const std::function<void()>& ready) {
        const sockaddr_un address = Address();
        const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        if (!BecomeStranger() ||
            bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            listen(socket, 5) != 0) {
            return 1;
        }
        ready();
        return pause();
    });
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "secret", &outcome));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(ECONNREFUSED, outcome.status);
    const std::string text =
        "process " + std::to_string(stranger.pid()) + " of user 65534 may not use the bus";
    EXPECT_THAT(kxtest::LoggedLines(), ElementsAre(LogLine{2, "noxipc", text}));
}

}  // namespace
