// Listening, and threads.
#include "kxemgr/console/server.h"

#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <csignal>
#include <future>
#include <mutex>
#include <vector>

namespace kxtest {
namespace {

using kxapp::Descriptor;
using kxemgr::console::Listen;
using kxemgr::console::ListenAddress;
using kxemgr::console::ParseListenAddress;
using kxemgr::console::Server;

Descriptor ListenAnywhere(ListenAddress& address) {
    address = *ParseListenAddress("127.0.0.1:0");
    std::string fault;
    Descriptor listening = Listen(address, fault);
    EXPECT_EQ(fault, "");
    return listening;
}

Descriptor Connect(const ListenAddress& address) {
    Descriptor connected(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(connect(connected.number(),
                      reinterpret_cast<const sockaddr*>(&address.socket_address), address.length),
              0);
    return connected;
}

// Waits for the other side to close.
bool IsClosed(const Descriptor& connected) {
    char byte = 0;
    return recv(connected.number(), &byte, 1, 0) <= 0;
}

void EchoOnce(int socket) {
    char byte = 0;
    if (recv(socket, &byte, 1, 0) == 1) {
        (void)send(socket, &byte, 1, MSG_NOSIGNAL);
    }
}

char Echo(const Descriptor& connected) {
    char byte = 'x';
    (void)send(connected.number(), &byte, 1, MSG_NOSIGNAL);
    byte = 0;
    (void)recv(connected.number(), &byte, 1, 0);
    return byte;
}

TEST(ConsoleServer, TellsThePortThatItTook) {
    ListenAddress address;
    const Descriptor listening = ListenAnywhere(address);
    EXPECT_THAT(kxemgr::console::UrlOf(address), testing::Not(testing::EndsWith(":0/")));
}

TEST(ConsoleServer, APortThatIsInUseIsAFault) {
    ListenAddress address;
    const Descriptor listening = ListenAnywhere(address);
    std::string fault;
    EXPECT_LT(Listen(address, fault).number(), 0);
    EXPECT_EQ(fault, "Address already in use");
}

TEST(ConsoleServer, AnAddressOfAnotherMachineIsAFault) {
    ListenAddress address = *ParseListenAddress("192.0.2.200:0");
    std::string fault;
    EXPECT_LT(Listen(address, fault).number(), 0);
    EXPECT_EQ(fault, "Cannot assign requested address");
}

TEST(ConsoleServer, ServesSeveralAtATime) {
    ListenAddress address;
    Server server(ListenAnywhere(address), EchoOnce);
    const Descriptor one = Connect(address);
    const Descriptor other = Connect(address);
    EXPECT_EQ(Echo(other), 'x');
    EXPECT_EQ(Echo(one), 'x');
    EXPECT_TRUE(IsClosed(one));
    EXPECT_TRUE(IsClosed(other));
}

TEST(ConsoleServer, ClosesThoseThatAreTooManyAndGoesOnBehindThem) {
    ListenAddress address;
    Server server(ListenAnywhere(address), EchoOnce);
    std::vector<Descriptor> connections;
    for (std::size_t i = 0; i < Server::kMostConnections; ++i) {
        connections.push_back(Connect(address));
    }
    EXPECT_TRUE(IsClosed(Connect(address)));
    EXPECT_EQ(Echo(connections.back()), 'x');
    EXPECT_TRUE(IsClosed(connections.back()));
    // The place is free once the thread was joined, which it is before the next one is accepted.
    char echoed = 0;
    for (int tries = 0; tries < 1000 && echoed == 0; ++tries) {
        echoed = Echo(Connect(address));
    }
    EXPECT_EQ(echoed, 'x');
}

TEST(ConsoleServer, EndsConversationsWhenItEnds) {
    ListenAddress address;
    std::promise<void> begun;
    std::promise<void> ended;
    auto server = std::make_unique<Server>(ListenAnywhere(address), [&](int socket) {
        begun.set_value();
        char byte = 0;
        (void)recv(socket, &byte, 1, 0);
        ended.set_value();
    });
    const Descriptor connected = Connect(address);
    begun.get_future().wait();
    server.reset();
    EXPECT_EQ(ended.get_future().wait_for(std::chrono::seconds(0)), std::future_status::ready);
    EXPECT_TRUE(IsClosed(connected));
}

TEST(ConsoleServer, LeavesSignalsToTheOthers) {
    ListenAddress address;
    std::promise<sigset_t> mask;
    Server server(ListenAnywhere(address), [&](int) {
        sigset_t own;
        pthread_sigmask(SIG_SETMASK, nullptr, &own);
        mask.set_value(own);
    });
    sigset_t mine;
    pthread_sigmask(SIG_SETMASK, nullptr, &mine);
    EXPECT_EQ(sigismember(&mine, SIGTERM), 0);
    const Descriptor connected = Connect(address);
    const sigset_t blocked = mask.get_future().get();
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 1);
    EXPECT_EQ(sigismember(&blocked, SIGINT), 1);
}

}  // namespace
}  // namespace kxtest
