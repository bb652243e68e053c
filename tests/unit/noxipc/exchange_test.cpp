// Requests, responses and messages between peers that behave.
#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "raw_peer.h"
#include "server.h"

namespace {

using noxipc::Address;

class ExchangeTest : public BusTest {};

TEST_F(ExchangeTest, ARequestIsAnswered) {
    Server server("server");
    const Instance client = Join("client");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "hello", &outcome));
    RunUntil([&] { return !server.requests.empty(); });
    EXPECT_EQ("client", server.requests[0].from);
    EXPECT_EQ(7U, server.requests[0].type);
    EXPECT_EQ("hello", server.requests[0].data);
    ASSERT_EQ(0, server.Answer(server.requests[0], "world"));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ(9U, outcome.type);
    EXPECT_EQ("world", outcome.data);
    RunWhatIsDue();
    EXPECT_EQ(1, outcome.calls);
    EXPECT_THAT(kxtest::LoggedLinesUpTo(3), testing::IsEmpty());
}

TEST_F(ExchangeTest, AnotherProcessAnswersARequest) {
    const Child child(Echoing("server"));
    const Instance client = Join("client");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "hello", &outcome));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("hello", outcome.data);
}

TEST_F(ExchangeTest, AnInstanceMayAskItself) {
    const Instance self = Join("self");
    ASSERT_EQ(0, nox_ipc_on_request(self.get(), EchoRequest, nullptr));
    const std::string data(2000000, 'd');
    Outcome outcome;
    ASSERT_EQ(0, Ask(self, AddressOf("self"), data, &outcome));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ(data, outcome.data);
}

TEST_F(ExchangeTest, TheCallbackNeverRunsFromWithinTheCall) {
    const Instance client = Join("client");
    Outcome refused;
    ASSERT_EQ(0, Ask(client, AddressOf("nobody"), "x", &refused));
    EXPECT_EQ(0, refused.calls);
    const std::string too_long((16U << 20U) + 1, 'x');
    Outcome longer;
    ASSERT_EQ(0, Ask(client, AddressOf("nobody"), too_long, &longer));
    EXPECT_EQ(0, longer.calls);
    RunWhatIsDue();
    EXPECT_EQ(1, refused.calls);
    EXPECT_EQ(1, longer.calls);
}

TEST_F(ExchangeTest, TheDataIsCopiedBeforeTheCallReturns) {
    Server server("server");
    const Instance client = Join("client");
    std::string data(1000000, 'a');
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), data, &outcome));
    std::fill(data.begin(), data.end(), 'b');
    RunUntil([&] { return !server.requests.empty(); });
    EXPECT_EQ(std::string(1000000, 'a'), server.requests[0].data);
}

TEST_F(ExchangeTest, EmptyDataMayBeNullOrNot) {
    const Instance server = Join("server");
    ASSERT_EQ(0, nox_ipc_on_request(server.get(), EchoRequest, nullptr));
    const Instance client = Join("client");
    const Address to = AddressOf("server");
    Outcome outcomes[2];
    const char* const data[] = {nullptr, ""};
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(0, nox_ipc_make_request(client.get(), to.get(), 1, data[i], 0, Outcome::Callback,
                                          &outcomes[i], 60));
    }
    RunUntil([&] { return outcomes[1].done(); });
    for (const Outcome& outcome : outcomes) {
        EXPECT_EQ(0, outcome.status);
        EXPECT_EQ("", outcome.data);
        EXPECT_FALSE(outcome.data_was_null);
    }
}

// Odd lengths, so that a payload does not end where the next thing would be aligned anyway.
void CheckData(const char* data, unsigned len) {
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(data) % 8);
    EXPECT_EQ('\0', data[len]);
    auto* writable = const_cast<char*>(data);
    std::fill(writable, writable + len, 'w');
}

TEST_F(ExchangeTest, DataOfACallbackIsAlignedWritableAndClosedWithAZeroByte) {
    const Instance server = Join("server");
    const Instance client = Join("client");
    int checked = 0;
    ASSERT_EQ(0, nox_ipc_on_request(
                     server.get(),
                     [](nox_ipc_st* ipc, const nox_addr_st* from, unsigned id, unsigned type,
                        const char* data, unsigned len, void* user) {
                         EchoRequest(ipc, from, id, type, data, len, user);
                         CheckData(data, len);
                         ++*static_cast<int*>(user);
                     },
                     &checked));
    ASSERT_EQ(0, nox_ipc_msg_recv(
                     server.get(),
                     [](nox_ipc_st*, const nox_addr_st*, unsigned, const char* data, unsigned len,
                        void* user) {
                         CheckData(data, len);
                         ++*static_cast<int*>(user);
                     },
                     &checked));
    const Address to = AddressOf("server");
    for (const std::size_t length : {0U, 1U, 3U, 101U, 70001U, 1000003U}) {
        const std::string data(length, 'd');
        ASSERT_EQ(0, nox_ipc_make_request(
                         client.get(), to.get(), 1, data.data(), static_cast<unsigned>(length),
                         [](int, unsigned, const char* response, unsigned len, void* user) {
                             CheckData(response, len);
                             ++*static_cast<int*>(user);
                         },
                         &checked, 60));
        ASSERT_EQ(0, nox_ipc_send_msg(client.get(), to.get(), 1, data.data(),
                                      static_cast<unsigned>(length)));
    }
    RunUntil([&] { return checked == 18; });
}

TEST_F(ExchangeTest, AMessageArrivesWithItsSenderAndType) {
    Server server("server");
    const Instance client = Join("client");
    ASSERT_EQ(0, nox_ipc_send_msg(client.get(), AddressOf("server").get(), 1002, "text", 4));
    RunUntil([&] { return !server.messages.empty(); });
    EXPECT_EQ("client", server.messages[0].from);
    EXPECT_EQ(1002U, server.messages[0].type);
    EXPECT_EQ("text", server.messages[0].data);
    EXPECT_TRUE(server.requests.empty());
}

TEST_F(ExchangeTest, AMessageArrivesAlsoWhenItsSenderLeavesAtOnce) {
    Server server("server");
    {
        const Instance client = Join("client");
        ASSERT_EQ(0, nox_ipc_send_msg(client.get(), AddressOf("server").get(), 1002, "text", 4));
    }
    RunUntil([&] { return !server.messages.empty(); });
    EXPECT_EQ("text", server.messages[0].data);
}

TEST_F(ExchangeTest, AMessageToNobodyIsRefused) {
    const Instance client = Join("client");
    EXPECT_EQ(ECONNREFUSED, nox_ipc_send_msg(client.get(), AddressOf("nobody").get(), 1, "x", 1));
}

TEST_F(ExchangeTest, MessagesAndRequestsOfOneSenderKeepTheirOrder) {
    Server server("server");
    const Instance client = Join("client");
    const Address to = AddressOf("server");
    for (unsigned i = 0; i < 1000; ++i) {
        ASSERT_EQ(0, nox_ipc_send_msg(client.get(), to.get(), i, "x", 1));
    }
    RunUntil([&] { return server.messages.size() == 1000; });
    for (unsigned i = 0; i < 1000; ++i) {
        ASSERT_EQ(i, server.messages[i].type);
    }
}

TEST_F(ExchangeTest, ManyRequestsToSeveralPeersAreOpenAtATime) {
    Server first("first");
    Server second("second");
    const Instance client = Join("client");
    std::vector<Outcome> outcomes(400);
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        ASSERT_EQ(0, Ask(client, AddressOf(i % 2 == 0 ? "first" : "second"), std::to_string(i),
                         &outcomes[i]));
    }
    RunUntil([&] { return first.requests.size() + second.requests.size() == outcomes.size(); });
    for (Server* server : {&second, &first}) {
        std::reverse(server->requests.begin(), server->requests.end());
        for (const Server::Seen& request : server->requests) {
            ASSERT_EQ(0, server->Answer(request, "to " + request.data));
        }
    }
    RunUntil([&] {
        return std::all_of(outcomes.begin(), outcomes.end(),
                           [](const Outcome& outcome) { return outcome.done(); });
    });
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        EXPECT_EQ(0, outcomes[i].status);
        EXPECT_EQ("to " + std::to_string(i), outcomes[i].data);
    }
}

TEST_F(ExchangeTest, RequestsHaveIdsOfTheirOwn) {
    Server server("server");
    const Instance one = Join("one");
    const Instance two = Join("two");
    Outcome outcomes[2];
    ASSERT_EQ(0, Ask(one, AddressOf("server"), "1", &outcomes[0]));
    ASSERT_EQ(0, Ask(two, AddressOf("server"), "2", &outcomes[1]));
    RunUntil([&] { return server.requests.size() == 2; });
    EXPECT_NE(server.requests[0].id, server.requests[1].id);
}

TEST_F(ExchangeTest, AResponseNeedsThePeerThatAsked) {
    Server server("server");
    const Instance client = Join("client");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
    RunUntil([&] { return !server.requests.empty(); });
    Server::Seen request = server.requests[0];
    request.from = "other";
    EXPECT_EQ(ENOENT, server.Answer(request, "wrong"));
    request.from = "client";
    request.id += 1;
    EXPECT_EQ(ENOENT, server.Answer(request, "wrong"));
    request.id = 0;
    EXPECT_EQ(ENOENT, server.Answer(request, "wrong"));
    EXPECT_EQ(0, server.Answer(server.requests[0], "right"));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ("right", outcome.data);
}

TEST_F(ExchangeTest, ARequestIsAnsweredOnlyOnce) {
    Server server("server");
    const Instance client = Join("client");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
    RunUntil([&] { return !server.requests.empty(); });
    EXPECT_EQ(0, server.Answer(server.requests[0], "first"));
    EXPECT_EQ(ENOENT, server.Answer(server.requests[0], "second"));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ("first", outcome.data);
}

TEST_F(ExchangeTest, ARequestOfAPeerThatHasLeftCannotBeAnswered) {
    Server server("server");
    {
        const Instance client = Join("client");
        Outcome outcome;
        ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
        RunUntil([&] { return !server.requests.empty(); });
    }
    EXPECT_EQ(ECONNRESET, server.Answer(server.requests[0], "late"));
    EXPECT_EQ(ENOENT, server.Answer(server.requests[0], "later"));
}

TEST_F(ExchangeTest, ARequestThatNobodyTakesIsDroppedAndTimesOut) {
    const Instance server = Join("server");
    const Instance client = Join("client");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome, 1));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(ETIMEDOUT, outcome.status);
    EXPECT_TRUE(outcome.data_was_null);
    EXPECT_EQ("", outcome.data);
    EXPECT_EQ(0U, outcome.type);
    EXPECT_THAT(kxtest::LoggedLines(),
                testing::ElementsAre(kxtest::LogLine{
                    4, "noxipc", "a request of client is dropped, nobody takes requests"}));
}

TEST_F(ExchangeTest, AMessageThatNobodyTakesIsDropped) {
    const Instance server = Join("server");
    const Instance client = Join("client");
    ASSERT_EQ(0, nox_ipc_send_msg(client.get(), AddressOf("server").get(), 1, "x", 1));
    RunUntil([] { return !kxtest::LoggedLines().empty(); });
    EXPECT_THAT(kxtest::LoggedLines(),
                testing::ElementsAre(kxtest::LogLine{
                    4, "noxipc", "a message of client is dropped, nobody takes messages"}));
}

TEST_F(ExchangeTest, AResponseThatComesTooLateIsDropped) {
    Server server("server");
    const Instance client = Join("client");
    Outcome late;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "late", &late, 1));
    RunUntil([&] { return late.done(); });
    EXPECT_EQ(ETIMEDOUT, late.status);
    ASSERT_EQ(0, server.Answer(server.requests[0], "sorry"));
    Outcome next;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "next", &next));
    RunUntil([&] { return server.requests.size() == 2; });
    ASSERT_EQ(0, server.Answer(server.requests[1], "in time"));
    RunUntil([&] { return next.done(); });
    EXPECT_EQ("in time", next.data);
    EXPECT_EQ(1, late.calls);
    EXPECT_THAT(
        kxtest::LoggedLinesUpTo(3),
        testing::ElementsAre(kxtest::LogLine{
            3, "noxipc", "a response of server to request 1, which is not open, is dropped"}));
}

TEST_F(ExchangeTest, ARequestToNobodyIsRefusedAtTheNextPass) {
    const Instance client = Join("client");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("nobody"), "x", &outcome, 3600));
    ASSERT_NE(0, cl_event_loop_once());
    EXPECT_EQ(1, outcome.calls);
    EXPECT_EQ(ECONNREFUSED, outcome.status);
    EXPECT_TRUE(outcome.data_was_null);
}

TEST_F(ExchangeTest, ACallbackMayMakeTheNextRequest) {
    const Instance server = Join("server");
    ASSERT_EQ(0, nox_ipc_on_request(server.get(), EchoRequest, nullptr));
    struct Chain {
        Instance client = Join("client");
        Address to = AddressOf("server");
        int rounds = 0;
        static void Next(int status, unsigned, const char*, unsigned, void* user) {
            auto* self = static_cast<Chain*>(user);
            EXPECT_EQ(0, status);
            if (++self->rounds < 100) {
                EXPECT_EQ(0, nox_ipc_make_request(self->client.get(), self->to.get(), 1, "x", 1,
                                                  Next, user, 60));
            }
        }
    } chain;
    ASSERT_EQ(0, nox_ipc_make_request(chain.client.get(), chain.to.get(), 1, "x", 1, Chain::Next,
                                      &chain, 60));
    RunUntil([&] { return chain.rounds == 100; });
}

// Without end, but the loop must come back to its caller.
TEST_F(ExchangeTest, ARefusedRequestThatIsMadeAgainAtOnceDoesNotHoldTheLoop) {
    struct Stubborn {
        Instance client = Join("client");
        Address to = AddressOf("nobody");
        int refused = 0;
        static void Again(int status, unsigned, const char*, unsigned, void* user) {
            auto* self = static_cast<Stubborn*>(user);
            self->refused += status == ECONNREFUSED ? 1 : 0;
            EXPECT_EQ(0, nox_ipc_make_request(self->client.get(), self->to.get(), 1, "x", 1, Again,
                                              user, 60));
        }
    } stubborn;
    ASSERT_EQ(0, nox_ipc_make_request(stubborn.client.get(), stubborn.to.get(), 1, "x", 1,
                                      Stubborn::Again, &stubborn, 60));
    ASSERT_NE(0, cl_event_loop_once());
    EXPECT_GE(stubborn.refused, 1);
    EXPECT_LE(stubborn.refused, 17);
}

// What a slow taker of requests has got, in order, by their senders' names.
void TakeSlowly(nox_ipc_st* /*ipc*/, const nox_addr_st* from, unsigned /*id*/, unsigned /*type*/,
                const char* /*data*/, unsigned /*len*/, void* user) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    static_cast<std::vector<std::string>*>(user)->emplace_back(nox_addr_name(from));
}

TEST_F(ExchangeTest, WhoSendsMuchDoesNotKeepOthersWaitingUntilItIsDone) {
    const Instance server = Join("server");
    std::vector<std::string> senders;
    ASSERT_EQ(0, nox_ipc_on_request(server.get(), TakeSlowly, &senders));
    RawPeer much("server");
    RawPeer little("server");
    much.Send(HelloBytes("much"));
    little.Send(HelloBytes("little"));
    RunWhatIsDue();
    std::string requests;
    for (unsigned id = 1; id <= 20; ++id) {
        requests += FrameBytes(noxipc::Kind::kRequest, 1, id, std::string(5000, 'x'));
    }
    much.Send(requests);
    little.Send(FrameBytes(noxipc::Kind::kRequest, 1, 1, "x"));
    RunUntil([&] { return senders.size() == 21; });
    EXPECT_NE("little", senders.back());
}

TEST_F(ExchangeTest, WhoLeavesWhileItsTurnIsStillToComeIsForgotten) {
    Instance server = Join("server");
    std::vector<std::string> senders;
    ASSERT_EQ(0, nox_ipc_on_request(server.get(), TakeSlowly, &senders));
    RawPeer peer("server");
    std::string requests = HelloBytes("much");
    for (unsigned id = 1; id <= 20; ++id) {
        requests += FrameBytes(noxipc::Kind::kRequest, 1, id, std::string(5000, 'x'));
    }
    peer.Send(requests);
    RunUntil([&] { return !senders.empty(); });
    server.reset();
    RunWhatIsDue();
    EXPECT_LT(senders.size(), 20U);
}

}  // namespace
