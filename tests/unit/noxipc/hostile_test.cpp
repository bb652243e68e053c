// Peers that vanish, lie or flood. Whatever they do ends their own connection at most.
#include <cerrno>

#include "raw_peer.h"
#include "server.h"

namespace {

using kxtest::LogLine;
using noxipc::Address;
using noxipc::Kind;
using testing::ElementsAre;

class HostileTest : public BusTest {
  protected:
    static std::vector<LogLine> Logged() { return kxtest::LoggedLinesUpTo(3); }
    static LogLine Error(const std::string& text) { return {2, "noxipc", text}; }

    // What a well-behaved client gets now.
    static void ExpectServes(Server& server) {
        const Instance client = Join("well-behaved");
        const std::size_t before = server.requests.size();
        Outcome outcome;
        ASSERT_EQ(0, Ask(client, AddressOf("server"), "are you there", &outcome));
        RunUntil([&] { return server.requests.size() > before; });
        ASSERT_EQ(0, server.Answer(server.requests.back(), "yes"));
        RunUntil([&] { return outcome.done(); });
        EXPECT_EQ(0, outcome.status);
        EXPECT_EQ("yes", outcome.data);
    }
};

TEST_F(HostileTest, APeerMayVanishAfterAnyByteItSends) {
    Server server("server");
    const std::string whole = HelloBytes("raw") + FrameBytes(Kind::kRequest, 1, 1, "request") +
                              FrameBytes(Kind::kMessage, 2, 0, "message");
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        RawPeer peer("server");
        peer.Send(whole.substr(0, length));
        if (length % 2 == 0) {
            RunWhatIsDue();  // every other one vanishes before it was even accepted
        }
        peer.Close();
        RunWhatIsDue();
    }
    EXPECT_EQ(1U + 31U, server.requests.size());  // complete from its last byte on
    EXPECT_EQ(1U, server.messages.size());
    EXPECT_THAT(Logged(), testing::IsEmpty());
    ExpectServes(server);
}

TEST_F(HostileTest, AServerMayVanishAfterAnyByteOfItsResponse) {
    const Instance client = Join("client");
    const std::string response = FrameBytes(Kind::kResponse, 9, 0, "response");
    for (std::size_t length = 0; length < response.size(); ++length) {
        RawListener listener("server");
        Outcome outcome;
        ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
        auto peer = listener.Accept();
        ASSERT_TRUE(peer);
        const auto frames = peer->Receive();
        ASSERT_EQ(2U, frames.size());
        peer->Send(
            FrameBytes(Kind::kResponse, 9, frames[1].header.id, "response").substr(0, length));
        if (length % 2 == 0) {
            RunWhatIsDue();
        }
        peer->Close();
        listener.Close();
        RunUntil([&] { return outcome.done(); });
        ASSERT_EQ(ECONNRESET, outcome.status) << length;
        ASSERT_EQ(1, outcome.calls);
    }
}

TEST_F(HostileTest, AServerMayVanishBeforeItAccepts) {
    const Instance client = Join("client");
    Outcome outcome;
    {
        RawListener listener("server");
        ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
    }
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(ECONNRESET, outcome.status);
}

TEST_F(HostileTest, AResponseCountsEvenWhenTheServerVanishesRightAfterIt) {
    const Instance client = Join("client");
    RawListener listener("server");
    Outcome answered;
    Outcome open;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &answered));
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "y", &open));
    auto peer = listener.Accept();
    ASSERT_TRUE(peer);
    const auto frames = peer->Receive();
    ASSERT_EQ(3U, frames.size());
    peer->Send(FrameBytes(Kind::kResponse, 9, frames[1].header.id, "response"));
    peer->Close();
    listener.Close();
    // Notices that the peer has gone, but must not forget what it has said before.
    Outcome refused;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "z", &refused));
    RunUntil([&] { return answered.done() && open.done() && refused.done(); });
    EXPECT_EQ(0, answered.status);
    EXPECT_EQ("response", answered.data);
    EXPECT_EQ(ECONNRESET, open.status);
    EXPECT_EQ(ECONNREFUSED, refused.status);
}

TEST_F(HostileTest, AProcessThatIsKilledWhileItOwesAResponseResetsTheRequest) {
    Child child([](const std::function<void()>& ready) {
        Server server("server");
        ready();
        while (cl_event_loop_once() != 0) {
        }
        return 0;
    });
    const Instance client = Join("client");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
    RunWhatIsDue();
    child.Kill(SIGKILL);
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(ECONNRESET, outcome.status);
}

TEST_F(HostileTest, AProcessThatDiesInTheMiddleOfALongResponseResetsTheRequest) {
    Child child([](const std::function<void()>& ready) {
        Server server("server");
        ready();
        while (server.requests.empty()) {
            (void)cl_event_loop_once();
        }
        (void)server.Answer(server.requests[0], std::string(16U << 20U, 'l'));
        return 0;  // with most of it still to be written
    });
    const Instance client = Join("client");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(ECONNRESET, outcome.status);
}

TEST_F(HostileTest, BytesThatAreNoFrameEndTheConnection) {
    Server server("server");
    RawPeer peer("server");
    peer.Send("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");
    RunUntil([&] { return peer.IsClosed(); });
    EXPECT_THAT(
        Logged(),
        ElementsAre(Error("a peer without a name sent a malformed frame, its connection ends")));
    ExpectServes(server);
}

TEST_F(HostileTest, AFrameThatIsTooLongEndsTheConnection) {
    Server server("server");
    RawPeer peer("server");
    const auto header = noxipc::Encode({Kind::kRequest, 1, 1, (16U << 20U) + 1});
    peer.Send(HelloBytes("raw") + std::string(header.data(), header.size()));
    RunUntil([&] { return peer.IsClosed(); });
    EXPECT_THAT(Logged(), ElementsAre(Error("raw sent a malformed frame, its connection ends")));
    ExpectServes(server);
}

TEST_F(HostileTest, WhatCameBeforeAMalformedFrameStillCounts) {
    Server server("server");
    RawPeer peer("server");
    peer.Send(HelloBytes("raw") + FrameBytes(Kind::kMessage, 3, 0, "good") + std::string(24, '?'));
    RunUntil([&] { return peer.IsClosed(); });
    ASSERT_EQ(1U, server.messages.size());
    EXPECT_EQ("good", server.messages[0].data);
}

TEST_F(HostileTest, WhoDoesNotGreetFirstLosesTheConnection) {
    Server server("server");
    RawPeer peer("server");
    peer.Send(FrameBytes(Kind::kRequest, 1, 1, "x"));
    RunUntil([&] { return peer.IsClosed(); });
    EXPECT_TRUE(server.requests.empty());
    EXPECT_THAT(
        Logged(),
        ElementsAre(Error("a peer without a name did not greet as it must, its connection ends")));
}

TEST_F(HostileTest, WhoGreetsTwiceLosesTheConnection) {
    Server server("server");
    RawPeer peer("server");
    peer.Send(HelloBytes("raw") + HelloBytes("other"));
    RunUntil([&] { return peer.IsClosed(); });
    EXPECT_THAT(Logged(), ElementsAre(Error("raw did not greet as it must, its connection ends")));
}

TEST_F(HostileTest, WhoGreetsWithAnInvalidNameLosesTheConnection) {
    Server server("server");
    for (const std::string& name :
         {std::string("../x"), std::string("a\nb"), std::string("a\0b", 3)}) {
        RawPeer peer("server");
        peer.Send(HelloBytes(name) + FrameBytes(Kind::kRequest, 1, 1, "x"));
        RunUntil([&] { return peer.IsClosed(); });
    }
    EXPECT_TRUE(server.requests.empty());
    EXPECT_EQ(3U, Logged().size());
}

TEST_F(HostileTest, AResponseOnAConnectionThatWasNotAskedIsDropped) {
    Server server("server");
    const Instance client = Join("client");
    Server other("other");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("other"), "x", &outcome));
    RawPeer forger("client");
    std::string bytes = HelloBytes("other");
    for (unsigned id = 0; id < 20; ++id) {
        bytes += FrameBytes(Kind::kResponse, 9, id, "forged");
    }
    forger.Send(bytes);
    RunUntil([] { return Logged().size() == 20; });
    EXPECT_EQ(0, outcome.calls);
    EXPECT_EQ((LogLine{3, "noxipc", "a response of other, which was not asked, is dropped"}),
              Logged().front());
    RunUntil([&] { return !other.requests.empty(); });
    ASSERT_EQ(0, other.Answer(other.requests[0], "real"));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ("real", outcome.data);
}

TEST_F(HostileTest, AResponseToAnotherRequestThanWasAskedIsDropped) {
    const Instance client = Join("client");
    RawListener listener("server");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
    auto peer = listener.Accept();
    ASSERT_TRUE(peer);
    const unsigned id = peer->Receive().at(1).header.id;
    peer->Send(FrameBytes(Kind::kResponse, 9, id + 1, "forged"));
    RunUntil([] { return !Logged().empty(); });
    EXPECT_EQ(0, outcome.calls);
    peer->Send(FrameBytes(Kind::kResponse, 9, id, "real"));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ("real", outcome.data);
    EXPECT_THAT(Logged(),
                ElementsAre(LogLine{3, "noxipc",
                                    "a response of server to request " + std::to_string(id + 1) +
                                        ", which is not open, is dropped"}));
}

TEST_F(HostileTest, ASecondResponseIsDropped) {
    const Instance client = Join("client");
    RawListener listener("server");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
    auto peer = listener.Accept();
    ASSERT_TRUE(peer);
    const unsigned id = peer->Receive().at(1).header.id;
    peer->Send(FrameBytes(Kind::kResponse, 9, id, "1") + FrameBytes(Kind::kResponse, 9, id, "2"));
    RunUntil([] { return !Logged().empty(); });
    EXPECT_EQ(1, outcome.calls);
    EXPECT_EQ("1", outcome.data);
}

TEST_F(HostileTest, AServerThatSendsAnythingButResponsesLosesTheConnection) {
    const Instance client = Join("client");
    RawListener listener("server");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
    auto peer = listener.Accept();
    ASSERT_TRUE(peer);
    peer->Send(FrameBytes(Kind::kMessage, 1, 0, "m"));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(ECONNRESET, outcome.status);
    EXPECT_THAT(
        Logged(),
        ElementsAre(Error("server sent something else than a response, its connection ends")));
}

TEST_F(HostileTest, AMalformedResponseResetsTheRequest) {
    const Instance client = Join("client");
    RawListener listener("server");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
    auto peer = listener.Accept();
    ASSERT_TRUE(peer);
    peer->Send(std::string(24, '?'));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(ECONNRESET, outcome.status);
    EXPECT_THAT(Logged(), ElementsAre(Error("server sent a malformed frame, its connection ends")));
}

TEST_F(HostileTest, AFrameInSingleBytesIsReadAllTheSame) {
    Server server("server");
    RawPeer peer("server");
    for (const char byte : HelloBytes("raw") + FrameBytes(Kind::kRequest, 1, 1, "request")) {
        peer.Send(std::string(1, byte));
        RunWhatIsDue();
    }
    ASSERT_EQ(1U, server.requests.size());
    EXPECT_EQ("request", server.requests[0].data);
}

TEST_F(HostileTest, AnUnfinishedFrameEndsTheConnectionAfterFiveSeconds) {
    Server server("server");
    RawPeer peer("server");
    RawPeer idle("server");
    idle.Send(HelloBytes("idle"));
    peer.Send(HelloBytes("raw") + FrameBytes(Kind::kRequest, 1, 1, "request").substr(0, 30));
    const auto start = std::chrono::steady_clock::now();
    RunUntil([&] { return peer.IsClosed(); });
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4990));
    EXPECT_FALSE(idle.IsClosed());
    EXPECT_THAT(Logged(),
                ElementsAre(Error("raw did not finish a frame in time, its connection ends")));
    ExpectServes(server);
}

// Single bytes keep no frame alive.
TEST_F(HostileTest, AFrameThatTricklesInEndsTheConnectionAfterFiveSeconds) {
    Server server("server");
    RawPeer peer("server");
    peer.Send(HelloBytes("raw") +
              FrameBytes(Kind::kRequest, 1, 1, std::string(100000, 'x')).substr(0, 30));
    const Repeated trickle(100, [&] { (void)peer.SendSome("x"); });
    RunUntil([&] { return peer.IsClosed(); });
    EXPECT_TRUE(server.requests.empty());
    EXPECT_THAT(Logged(),
                ElementsAre(Error("raw did not finish a frame in time, its connection ends")));
}

TEST_F(HostileTest, WhoDoesNotGreetWithinFiveSecondsLosesTheConnection) {
    Server server("server");
    RawPeer peer("server");
    RunUntil([&] { return peer.IsClosed(); });
    EXPECT_THAT(Logged(), ElementsAre(Error("a peer without a name did not finish a frame in time, "
                                            "its connection ends")));
}

TEST_F(HostileTest, AnUnfinishedResponseResetsTheRequestAfterFiveSeconds) {
    const Instance client = Join("client");
    RawListener listener("server");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome, 3600));
    auto peer = listener.Accept();
    ASSERT_TRUE(peer);
    peer->Send(FrameBytes(Kind::kResponse, 9, 1, "response").substr(0, 25));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(ECONNRESET, outcome.status);
    EXPECT_THAT(Logged(),
                ElementsAre(Error("server did not finish a frame in time, its connection ends")));
}

// The loop was busy elsewhere for longer than the time-out, and the response was there in time.
TEST_F(HostileTest, AResponseThatIsThereWhenTheTimeIsUpCounts) {
    const Instance client = Join("client");
    RawListener listener("server");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome, 1));
    RunWhatIsDue();
    auto peer = listener.Accept();
    ASSERT_TRUE(peer);
    peer->Send(FrameBytes(Kind::kResponse, 9, peer->Receive().at(1).header.id, "in time"));
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("in time", outcome.data);
}

TEST_F(HostileTest, ASilentServerTimesOutEveryRequestOfItsOwn) {
    const Instance client = Join("client");
    RawListener listener("server");
    Outcome outcomes[2];
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcomes[1], 2));
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcomes[0], 1));
    RunUntil([&] { return outcomes[0].done(); });
    EXPECT_EQ(ETIMEDOUT, outcomes[0].status);
    EXPECT_EQ(0, outcomes[1].calls);
    RunUntil([&] { return outcomes[1].done(); });
    EXPECT_EQ(ETIMEDOUT, outcomes[1].status);
}

}  // namespace
