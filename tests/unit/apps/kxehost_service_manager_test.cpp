#include "kxehost/service_manager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "installation.h"

namespace {

// A datagram socket in the place of the service manager's.
class Listener {
  public:
    explicit Listener(const std::string& name) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, name.data(), name.size());
        if (name[0] == '@') {
            address.sun_path[0] = '\0';
        }
        m_descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        if (bind(m_descriptor, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
            ADD_FAILURE() << std::strerror(errno);
        }
        setenv("NOTIFY_SOCKET", name.c_str(), 1);
    }
    ~Listener() { close(m_descriptor); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // The next message, which has been sent already; empty when there is none.
    std::string message() const {
        char buffer[256];
        const ssize_t got = recv(m_descriptor, buffer, sizeof buffer, MSG_DONTWAIT);
        return got < 0 ? "" : std::string(buffer, static_cast<std::size_t>(got));
    }

  private:
    int m_descriptor;
};

std::string SocketPath() {
    // Relative to the installation's root, since a socket's path has to be short.
    EXPECT_EQ(chdir(kxtest::InstallationRoot().c_str()), 0);
    return "notify.sock";
}

class ServiceManagerTest : public kxtest::InstallationTest {};

}  // namespace

TEST_F(ServiceManagerTest, HearsOfReadinessOverAPath) {
    const Listener listener(SocketPath());
    kxehost::ServiceManager().ready();
    EXPECT_EQ(listener.message(), "READY=1\n");
}

TEST_F(ServiceManagerTest, HearsOfReadinessOverAnAbstractName) {
    const Listener listener("@kxtest-notify-" + std::to_string(getpid()));
    kxehost::ServiceManager().ready();
    EXPECT_EQ(listener.message(), "READY=1\n");
}

TEST_F(ServiceManagerTest, HearsOfTheStop) {
    const Listener listener(SocketPath());
    kxehost::ServiceManager().stopping();
    EXPECT_EQ(listener.message(), "STOPPING=1\n");
}

TEST_F(ServiceManagerTest, HearsOfAReloadWithTheMonotonicTime) {
    const Listener listener(SocketPath());
    timespec before{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    kxehost::ServiceManager().reloading();
    timespec after{};
    clock_gettime(CLOCK_MONOTONIC, &after);
    const std::string message = listener.message();
    const std::string begin = "RELOADING=1\nMONOTONIC_USEC=";
    ASSERT_EQ(message.substr(0, begin.size()), begin);
    ASSERT_EQ(message.back(), '\n');
    const auto time = std::strtoll(message.c_str() + begin.size(), nullptr, 10);
    EXPECT_GE(time, before.tv_sec * 1'000'000LL + before.tv_nsec / 1000);
    EXPECT_LE(time, after.tv_sec * 1'000'000LL + after.tv_nsec / 1000);
}

TEST_F(ServiceManagerTest, IsNotPassedOnToOtherPrograms) {
    const Listener listener(SocketPath());
    const kxehost::ServiceManager service_manager;
    EXPECT_EQ(std::getenv("NOTIFY_SOCKET"), nullptr);
}

TEST_F(ServiceManagerTest, NeedNotBeThere) {
    unsetenv("NOTIFY_SOCKET");
    ::testing::internal::CaptureStderr();
    kxehost::ServiceManager().ready();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(ServiceManagerTest, ThatCannotBeReachedIsOneLine) {
    setenv("NOTIFY_SOCKET", "/nonexistent/notify", 1);
    ::testing::internal::CaptureStderr();
    kxehost::ServiceManager().ready();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              std::string(program_invocation_short_name) +
                  ": cannot notify the service manager at /nonexistent/notify: No such file or "
                  "directory\n");
}

TEST_F(ServiceManagerTest, WithANameThatIsTooLongIsOneLine) {
    const std::string name = "/" + std::string(200, 'x');
    setenv("NOTIFY_SOCKET", name.c_str(), 1);
    ::testing::internal::CaptureStderr();
    kxehost::ServiceManager().ready();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              std::string(program_invocation_short_name) +
                  ": cannot notify the service manager at " + name + ": File name too long\n");
}
