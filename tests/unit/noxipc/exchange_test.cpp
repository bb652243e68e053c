// Requests, responses and messages between peers that behave.
#include <cerrno>
#include <cstdint>

#include "bus.h"

namespace {

using noxipc::Address;

TEST_F(BusTest, ARequestIsAnswered) {
    const Instance server = Join("server");
    const Instance client = Join("client");
    ASSERT_EQ(0, nox_ipc_on_request(server.get(), EchoRequest, nullptr));
    const Address to = AddressOf("server");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, to, "hello", &outcome));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(1, outcome.calls);
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ(7U, outcome.type);
    EXPECT_EQ("hello", outcome.data);
    EXPECT_THAT(kxtest::LoggedLinesUpTo(3), testing::IsEmpty());
}

TEST_F(BusTest, AnotherProcessAnswersARequest) {
    const Child child(Echoing("server"));
    const Instance client = Join("client");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "hello", &outcome));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("hello", outcome.data);
}

}  // namespace
