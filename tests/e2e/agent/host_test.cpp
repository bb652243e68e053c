// The host process: start, stop, restart, and a module that is not there.
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

#include "agent.h"

namespace kxtest {
namespace {

using Host = AgentTest;

constexpr char kWorking[] = "kxepinfo module work thread working...";
constexpr char kEnded[] = "kxepinfo module work thread exit";

std::size_t LineCount(const std::string& text) {
    return CountOf(text, "\n");
}

TEST_F(Host, EndsWithoutFaultOnSigterm) {
    Program& host = StartHost();
    ASSERT_TRUE(Logs("upload gap is 2"));
    EXPECT_EQ(host.stop(), 0);
    EXPECT_THAT(installation().log(), testing::HasSubstr(kEnded));
    EXPECT_THAT(installation().log(), testing::HasSubstr("thread exit ok"));
}

TEST_F(Host, EndsWithoutFaultOnSigint) {
    Program& host = StartHost();
    ASSERT_TRUE(Logs("upload gap is 2"));
    host.signal(SIGINT);
    EXPECT_EQ(host.wait(), 0);
    EXPECT_THAT(installation().log(), testing::HasSubstr("thread exit ok"));
}

TEST_F(Host, StopsRightAfterItsStart) {
    Program& host = StartHost();
    ASSERT_TRUE(Logs(kWorking));
    EXPECT_EQ(host.stop(), 0);
    EXPECT_THAT(installation().log(), testing::HasSubstr(kEnded));
}

TEST_F(Host, StopsInTheMiddleOfACycle) {
    StartManager();
    Program& host = StartHost();
    ASSERT_NE(Upload(0), nullptr);
    ASSERT_TRUE(Logs("stepped into timer callback function now..."));
    EXPECT_EQ(host.stop(), 0);
    EXPECT_THAT(installation().log(), testing::HasSubstr(kEnded));
}

TEST_F(Host, StopsWithASilentManager) {
    StartManager({"--fault", "silent"});
    Program& host = StartHost();
    ASSERT_NE(Upload(0), nullptr);
    EXPECT_EQ(host.stop(), 0);
    EXPECT_THAT(installation().log(), testing::HasSubstr("thread exit ok"));
}

// Programs of all installations are one file until one of them gets another.
TEST_F(Host, OfAnotherInstallationKeepsItsScript) {
    const AgentInstallation other("other");
    installation().write("bin/resmon_export.sh", "exit 1\n");
    EXPECT_EQ(installation().read("bin/resmon_export.sh"), "exit 1\n");
    EXPECT_NE(other.read("bin/resmon_export.sh"), "exit 1\n");
}

// The script in an endless sleep, with a child that holds on to its output.
TEST_F(Host, StopsWhileAProgramOfTheCycleHangs) {
    StartManager();
    const std::filesystem::path started = installation().path("started");
    installation().write("bin/resmon_export.sh",
                         "sleep 1000 &\necho $! >'" + started.string() + "'\nsleep 1000\n");
    Program& host = StartHost();
    ASSERT_TRUE(WaitUntil([&] { return std::filesystem::exists(started); }));
    EXPECT_EQ(host.stop(), 0);
    EXPECT_THAT(installation().log(), testing::HasSubstr(kEnded));
}

TEST_F(Host, LeavesTheBusBehindItself) {
    Program& host = StartHost();
    ASSERT_TRUE(installation().wait_for_bus("agt_ei"));
    ASSERT_TRUE(Logs("upload gap is 2"));
    EXPECT_EQ(host.stop(), 0);
    EXPECT_FALSE(std::filesystem::exists(installation().path("var/run/ipc/agt_ei.sock")));
}

TEST_F(Host, TakesOverTheBusNameOfAKilledOne) {
    Program& killed = StartHost();
    ASSERT_TRUE(installation().wait_for_bus("agt_ei"));
    killed.signal(SIGKILL);
    killed.wait();
    StartManager();
    StartHost();
    EXPECT_NE(Upload(0), nullptr);
}

TEST_F(Host, SighupStopsTheModuleAndStartsItAgain) {
    StartManager();
    Program& host = StartHost();
    ASSERT_NE(Upload(0), nullptr);
    host.signal(SIGHUP);
    ASSERT_TRUE(WaitUntil([&] { return CountOf(installation().log(), kWorking) == 2; }));
    EXPECT_EQ(CountOf(installation().log(), kEnded), 1U);
    const std::size_t so_far = manager().wait_for_lines(1).size();
    EXPECT_NE(Upload(so_far), nullptr);
    EXPECT_EQ(host.stop(), 0);
}

TEST_F(Host, ARestartReadsTheIntervalAgain) {
    Program& host = StartHost();
    ASSERT_TRUE(Logs("upload gap is 2"));
    installation().set_interval(7);
    host.signal(SIGHUP);
    EXPECT_TRUE(Logs("upload gap is 7"));
}

TEST_F(Host, AMissingModuleGivesOneLineAndStatus1) {
    std::filesystem::remove(installation().path("lib/libkxepinfo.so"));
    const Finished host = RunToEnd(installation().program("kxehost"), {});
    EXPECT_EQ(host.status, 1);
    EXPECT_EQ(host.output, "");
    EXPECT_EQ(LineCount(host.errors), 1U) << host.errors;
    EXPECT_THAT(host.errors, testing::StartsWith("kxehost: cannot load the module: "));
    EXPECT_THAT(host.errors, testing::HasSubstr("libkxepinfo.so"));
}

TEST_F(Host, ABrokenModuleGivesOneLineAndStatus1) {
    std::filesystem::remove(installation().path("lib/libkxepinfo.so"));
    installation().write("lib/libkxepinfo.so", "this is no library");
    const Finished host = RunToEnd(installation().program("kxehost"), {});
    EXPECT_EQ(host.status, 1);
    EXPECT_EQ(LineCount(host.errors), 1U) << host.errors;
    EXPECT_THAT(host.errors, testing::StartsWith("kxehost: cannot load the module: "));
}

TEST_F(Host, ALibraryThatIsNoModuleGivesOneLineAndStatus1) {
    const Finished host =
        RunToEnd(installation().program("kxehost"), {"--module", "@/../lib/libxmsg.so"});
    EXPECT_EQ(host.status, 1);
    EXPECT_EQ(LineCount(host.errors), 1U) << host.errors;
    EXPECT_THAT(host.errors, testing::StartsWith("kxehost: not a module of this agent: "));
}

TEST_F(Host, PrintsNothingInACorrectInstallation) {
    StartManager();
    Program& host = StartHost();
    ASSERT_NE(Upload(0), nullptr);
    EXPECT_EQ(host.stop(), 0);
    EXPECT_EQ(host.output(), "");
    EXPECT_EQ(host.errors(), "");
}

TEST_F(Host, ComplainsOfAFileThatOthersCanChangeAndWorks) {
    const std::filesystem::path file = installation().path("config/server.ini");
    std::filesystem::permissions(file, std::filesystem::perms{0666});
    StartManager();
    Program& host = StartHost();
    ASSERT_NE(Upload(0), nullptr);
    EXPECT_EQ(host.stop(), 0);
    EXPECT_EQ(host.errors(), "kxehost: " + file.string() +
                                 " can be changed by everybody (mode 0666, owner " +
                                 std::to_string(getuid()) + "): see SECURITY.md\n");
}

// The service manager's end of the notification socket.
class NotifySocket {
  public:
    NotifySocket() : m_name("kx-e2e-" + std::to_string(getpid())) {
        m_descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path + 1, m_name.data(), m_name.size());
        const auto length = offsetof(sockaddr_un, sun_path) + 1 + m_name.size();
        EXPECT_EQ(bind(m_descriptor, reinterpret_cast<sockaddr*>(&address),
                       static_cast<socklen_t>(length)),
                  0);
    }
    ~NotifySocket() { close(m_descriptor); }
    NotifySocket(const NotifySocket&) = delete;
    NotifySocket& operator=(const NotifySocket&) = delete;

    std::string name() const { return "@" + m_name; }

    std::string Receive() const {
        std::string message(256, '\0');
        ssize_t length = -1;
        WaitUntil([&] {
            length = recv(m_descriptor, message.data(), message.size(), 0);
            return length >= 0;
        });
        message.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
        return message;
    }

  private:
    std::string m_name;
    int m_descriptor;
};

TEST_F(Host, TellsTheServiceManagerWhatItDoes) {
    const NotifySocket notifications;
    Program& host = StartHost(
        {}, {.environment = {{"NOTIFY_SOCKET", notifications.name()}}, .standard_input = {}});
    EXPECT_EQ(notifications.Receive(), "READY=1\n");
    host.signal(SIGHUP);
    EXPECT_THAT(notifications.Receive(),
                testing::ContainsRegex("^RELOADING=1\nMONOTONIC_USEC=[0-9]+\n$"));
    EXPECT_EQ(notifications.Receive(), "READY=1\n");
    host.signal(SIGTERM);
    EXPECT_EQ(notifications.Receive(), "STOPPING=1\n");
    EXPECT_EQ(host.wait(), 0);
}

}  // namespace
}  // namespace kxtest
