// Arguments, sizes and numbers at their limits.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "raw_peer.h"
#include "server.h"

namespace {

using noxipc::Address;
using noxipc::Kind;

constexpr std::size_t kLongest = std::size_t{16} << 20U;

class LimitsTest : public BusTest {};

TEST_F(LimitsTest, BadArgumentsAreRefusedAndCallNothing) {
    const Instance client = Join("client");
    const Address to = AddressOf("nobody");
    Outcome outcome;
    const auto callback = Outcome::Callback;
    EXPECT_EQ(EINVAL, nox_ipc_make_request(nullptr, to.get(), 1, "x", 1, callback, &outcome, 5));
    EXPECT_EQ(EINVAL,
              nox_ipc_make_request(client.get(), nullptr, 1, "x", 1, callback, &outcome, 5));
    EXPECT_EQ(EINVAL,
              nox_ipc_make_request(client.get(), to.get(), 1, nullptr, 1, callback, &outcome, 5));
    EXPECT_EQ(EINVAL,
              nox_ipc_make_request(client.get(), to.get(), 1, "x", 1, nullptr, &outcome, 5));
    EXPECT_EQ(EINVAL, nox_ipc_send_msg(nullptr, to.get(), 1, "x", 1));
    EXPECT_EQ(EINVAL, nox_ipc_send_msg(client.get(), nullptr, 1, "x", 1));
    EXPECT_EQ(EINVAL, nox_ipc_send_msg(client.get(), to.get(), 1, nullptr, 1));
    EXPECT_EQ(EINVAL, nox_ipc_response(nullptr, to.get(), 1, 1, "x", 1));
    EXPECT_EQ(EINVAL, nox_ipc_response(client.get(), nullptr, 1, 1, "x", 1));
    EXPECT_EQ(EINVAL, nox_ipc_response(client.get(), to.get(), 1, 1, nullptr, 1));
    EXPECT_EQ(EINVAL, nox_ipc_msg_recv(nullptr, nullptr, nullptr));
    EXPECT_EQ(EINVAL, nox_ipc_on_request(nullptr, nullptr, nullptr));
    RunWhatIsDue();
    EXPECT_EQ(0, outcome.calls);
}

TEST_F(LimitsTest, TheLongestPayloadTravelsBothWays) {
    const Child child(Echoing("server"));
    const Instance client = Join("client");
    std::string data(kLongest, 'd');
    data.front() = 'f';
    data.back() = 'b';
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), data, &outcome));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(0, outcome.status);
    EXPECT_TRUE(outcome.data == data);
}

TEST_F(LimitsTest, OneByteMoreIsTooLong) {
    Server server("server");
    const Instance client = Join("client");
    const Address to = AddressOf("server");
    const std::string data(kLongest + 1, 'd');
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, to, data, &outcome));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(EMSGSIZE, outcome.status);
    EXPECT_EQ(EMSGSIZE, nox_ipc_send_msg(client.get(), to.get(), 1, data.data(), kLongest + 1));
    EXPECT_TRUE(server.requests.empty());
    EXPECT_TRUE(server.messages.empty());
}

TEST_F(LimitsTest, AResponseThatIsTooLongLeavesTheRequestOpen) {
    Server server("server");
    const Instance client = Join("client");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
    RunUntil([&] { return !server.requests.empty(); });
    EXPECT_EQ(EMSGSIZE, server.Answer(server.requests[0], std::string(kLongest + 1, 'd')));
    EXPECT_EQ(0, server.Answer(server.requests[0], "short"));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ("short", outcome.data);
}

// Two of the longest fit, one having been taken by the socket in part; the third does not.
TEST_F(LimitsTest, WhatWaitsForOnePeerIsLimited) {
    const Instance client = Join("client");
    RawListener silent("server");
    const std::string data(kLongest, 'd');
    Outcome outcomes[3];
    for (Outcome& outcome : outcomes) {
        ASSERT_EQ(0, Ask(client, AddressOf("server"), data, &outcome));
    }
    EXPECT_EQ(ENOBUFS, nox_ipc_send_msg(client.get(), AddressOf("server").get(), 1, data.data(),
                                        static_cast<unsigned>(data.size())));
    RunUntil([&] { return outcomes[2].done(); });
    EXPECT_EQ(ENOBUFS, outcomes[2].status);
    EXPECT_EQ(0, outcomes[0].calls);
    EXPECT_EQ(0, outcomes[1].calls);
}

TEST_F(LimitsTest, WhatWaitsForOnePeerDoesNotCountForAnother) {
    const Instance client = Join("client");
    RawListener silent("silent");
    const Instance server = Join("server");
    ASSERT_EQ(0, nox_ipc_on_request(server.get(), EchoRequest, nullptr));
    const std::string data(kLongest, 'd');
    Outcome ignored[3];
    for (Outcome& outcome : ignored) {
        ASSERT_EQ(0, Ask(client, AddressOf("silent"), data, &outcome));
    }
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), data, &outcome));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(0, outcome.status);
}

// While it exists, this process cannot open anything.
class NoDescriptors {
  public:
    NoDescriptors() {
        getrlimit(RLIMIT_NOFILE, &before_);
        const int next = dup(STDIN_FILENO);
        close(next);
        const rlimit none = {static_cast<rlim_t>(next), before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

  private:
    rlimit before_{};
};

TEST_F(LimitsTest, WhoConnectsWhileNoDescriptorIsLeftIsServedLater) {
    Server server("server");
    RawPeer peer("server");
    peer.Send(HelloBytes("raw") + FrameBytes(Kind::kRequest, 1, 7, "x"));
    {
        const NoDescriptors missing;
        RunUntil([] { return !kxtest::LoggedLinesUpTo(2).empty(); });
        RunWhatIsDue();
        EXPECT_TRUE(server.requests.empty());
    }
    RunUntil([&] { return !server.requests.empty(); });
    EXPECT_THAT(kxtest::LoggedLinesUpTo(2),
                testing::ElementsAre(kxtest::LogLine{
                    2, "noxipc", "a connection cannot be accepted: Too many open files"}));
}

TEST_F(LimitsTest, AResponseToAPeerThatDoesNotReadIsRefusedAndStaysOpen) {
    Server server("server");
    RawPeer peer("server");
    std::string bytes = HelloBytes("raw");
    for (unsigned id = 1; id <= 3; ++id) {
        bytes += FrameBytes(Kind::kRequest, 1, id, "x");
    }
    peer.Send(bytes);
    RunUntil([&] { return server.requests.size() == 3; });
    const std::string data(kLongest, 'd');
    EXPECT_EQ(0, server.Answer(server.requests[0], data));
    EXPECT_EQ(0, server.Answer(server.requests[1], data));
    EXPECT_EQ(ENOBUFS, server.Answer(server.requests[2], data));
    EXPECT_EQ(0, server.Answer(server.requests[2], "short"));
}

// An answer of one byte costs two hundred while it waits. With what the socket takes before, this
// many are less than half of what would be 32 MiB of bytes alone.
TEST_F(LimitsTest, ShortResponsesThatAreLeftUnreadCountWithWhatTheyCost) {
    constexpr std::size_t kMost = 600000;
    Server server("server");
    RawPeer peer("server");
    peer.Send(HelloBytes("raw"));
    std::string requests;
    for (unsigned id = 1; id <= 1000; ++id) {
        requests += FrameBytes(Kind::kRequest, 1, id, "");
    }
    std::size_t answered = 0;
    int error = 0;
    while (error == 0 && answered < kMost) {
        server.requests.clear();
        peer.Send(requests);
        RunUntil([&] { return server.requests.size() == 1000; });
        for (const auto& request : server.requests) {
            error = server.Answer(request, "x");
            answered += error == 0;
        }
    }
    EXPECT_EQ(error, ENOBUFS);
    EXPECT_LT(answered, kMost);
}

TEST_F(LimitsTest, ARequestThatIsWrittenInPiecesArrivesWhole) {
    const Instance client = Join("client");
    RawListener listener("server");
    std::string data(3000000, 'd');
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<char>('a' + i % 26);
    }
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), data, &outcome));
    auto peer = listener.Accept();
    ASSERT_TRUE(peer);
    std::vector<RawPeer::Received> frames;
    while (frames.size() < 2) {
        for (auto& frame : peer->Receive()) {
            frames.push_back(std::move(frame));
        }
        RunWhatIsDue();
    }
    EXPECT_TRUE(frames[1].payload == data);
}

TEST_F(LimitsTest, ConnectionsBeyond256AreRefusedUntilOneEnds) {
    Server server("server");
    std::vector<RawPeer> peers;
    for (int i = 0; i < 256; ++i) {
        peers.emplace_back("server");
        peers.back().Send(HelloBytes("raw") + FrameBytes(Kind::kMessage, 1, 0, "x"));
        RunUntil([&] { return server.messages.size() == peers.size(); });
    }
    RawPeer refused("server");
    RunUntil([&] { return refused.IsClosed(); });
    EXPECT_THAT(kxtest::LoggedLinesUpTo(3),
                testing::ElementsAre(kxtest::LogLine{
                    2, "noxipc", "server has 256 connections, one more is refused"}));
    peers.back().Close();
    RunWhatIsDue();
    RawPeer admitted("server");
    admitted.Send(HelloBytes("raw") + FrameBytes(Kind::kMessage, 2, 0, "x"));
    RunUntil([&] { return server.messages.size() == 257; });
    EXPECT_FALSE(peers.front().IsClosed());
}

TEST_F(LimitsTest, TheOldestOfTooManyUnansweredRequestsIsForgotten) {
    Server server("server");
    RawPeer peer("server");
    std::string bytes = HelloBytes("raw");
    for (unsigned id = 1; id <= 1025; ++id) {
        bytes += FrameBytes(Kind::kRequest, 101, id, "");
    }
    peer.Send(bytes);
    RunUntil([&] { return server.requests.size() == 1025; });
    EXPECT_EQ(ENOENT, server.Answer(server.requests[0], "x"));
    EXPECT_EQ(0, server.Answer(server.requests[1], "x"));
    EXPECT_EQ(0, server.Answer(server.requests[1024], "x"));
}

TEST_F(LimitsTest, ATimeoutBelowOneStandsForALongOneAndTheLongestIsPossible) {
    const Instance client = Join("client");
    Server server("server");
    Outcome outcomes[3];
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcomes[0], 0));
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcomes[1], -1));
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcomes[2], INT_MAX));
    RunUntil([&] { return server.requests.size() == 3; });
    for (const Outcome& outcome : outcomes) {
        EXPECT_EQ(0, outcome.calls);
    }
    for (const auto& request : server.requests) {
        ASSERT_EQ(0, server.Answer(request, "y"));
    }
    RunUntil([&] { return outcomes[2].done(); });
    for (const Outcome& outcome : outcomes) {
        EXPECT_EQ(0, outcome.status);
    }
}

TEST_F(LimitsTest, EveryErrorHasAText) {
    EXPECT_STREQ("Success", nox_ipc_strerror(0));
    EXPECT_STREQ("Connection refused", nox_ipc_strerror(ECONNREFUSED));
    EXPECT_STREQ("Connection reset by peer", nox_ipc_strerror(ECONNRESET));
    EXPECT_STREQ("Connection timed out", nox_ipc_strerror(ETIMEDOUT));
    EXPECT_STREQ("Message too long", nox_ipc_strerror(EMSGSIZE));
    EXPECT_STREQ("No buffer space available", nox_ipc_strerror(ENOBUFS));
    EXPECT_STREQ("Unspecified error", nox_ipc_strerror(-1));
    EXPECT_STREQ("Unknown error code", nox_ipc_strerror(100000));
    EXPECT_STREQ("Unknown error code", nox_ipc_strerror(INT_MIN));
}

}  // namespace
