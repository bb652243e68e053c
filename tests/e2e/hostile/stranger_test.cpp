// Processes of another user, who may not use the bus.
#include <fcntl.h>
#include <grp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "agent_under_attack.h"
#include "child_process.h"

namespace kxtest {
namespace {

constexpr uid_t kNobody = 65534;

class Stranger : public AgentUnderAttack {
  protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "becoming another user needs root";
        }
        StartAgent();
    }

    static sockaddr_un AddressOf(std::string_view server) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        (std::string(server) + ".sock").copy(address.sun_path, sizeof address.sun_path - 1);
        return address;
    }

    static bool BecomeNobody() {
        return setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0;
    }

    // Runs `work` as nobody, with the directory of the bus as its own, which can be reached
    // whatever lies above it.
    int AsNobody(const std::function<int()>& work) const {
        return ExitOf(InChild([&] {
            const std::string bus = installation().path("var/run/ipc");
            return chdir(bus.c_str()) == 0 && BecomeNobody() ? work() : -1;
        }));
    }

    // 0 when the connection was ended from the other side, otherwise an errno value.
    static int Connect(std::string_view server) {
        const int peer = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_un address = AddressOf(server);
        if (connect(peer, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            return errno;
        }
        std::array<char, 1> byte;
        const timeval limit = {30, 0};
        setsockopt(peer, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        return recv(peer, byte.data(), byte.size(), 0) == 0 ? 0 : errno;
    }
};

TEST_F(Stranger, DoesNotReachTheBus) {
    for (const char* const server : {"agt_ei", "mgr_ei", "agt_cfgc"}) {
        EXPECT_EQ(AsNobody([&] { return Connect(server); }), EACCES) << server;
    }
    CheckCalm();
}

// As a careless hand may leave it.
TEST_F(Stranger, IsThrownOutWhereTheDirectoryLetsHimIn) {
    EXPECT_EQ(chmod(installation().path("var/run/ipc").c_str(), 0777), 0);
    for (const char* const server : {"agt_ei", "mgr_ei", "agt_cfgc"}) {
        const std::string socket = installation().path("var/run/ipc") / server;
        EXPECT_EQ(chmod((socket + ".sock").c_str(), 0666), 0);
        EXPECT_EQ(AsNobody([&] { return Connect(server); }), 0) << server;
    }
    EXPECT_TRUE(Logs("of user 65534 may not use the bus"));
    CheckCalm();
}

// With a socket that was made while he still might.
TEST_F(Stranger, DoesNotGetAnUploadInTheManagersPlace) {
    EXPECT_EQ(manager().stop(), 0);
    const std::string bus = installation().path("var/run/ipc");
    int listens[2];
    ASSERT_EQ(pipe2(listens, O_CLOEXEC), 0);
    const pid_t listener = InChild([&] {
        const int stranger = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_un address = AddressOf("mgr_ei");
        const bool is_listening =
            chdir(bus.c_str()) == 0 &&
            bind(stranger, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
            BecomeNobody() && listen(stranger, 5) == 0 && write(listens[1], "", 1) == 1;
        const int peer = is_listening ? accept(stranger, nullptr, nullptr) : -1;
        std::array<char, 1> byte;
        return peer >= 0 ? static_cast<int>(recv(peer, byte.data(), byte.size(), 0)) : -1;
    });
    std::array<char, 1> byte;
    EXPECT_EQ(read(listens[0], byte.data(), byte.size()), 1);
    StepToNextCycle();
    EXPECT_EQ(ExitOf(listener), 0);  // connected, and not a byte
    EXPECT_TRUE(Logs("process " + std::to_string(listener) + " of user 65534 may not use the bus"));
    StartManager();
    ForgetUploads();
    Step();
    close(listens[0]);
    close(listens[1]);
}

}  // namespace
}  // namespace kxtest
