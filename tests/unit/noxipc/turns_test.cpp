// What a connection whose callbacks take long must not bring about.
#include <cerrno>
#include <chrono>
#include <thread>

#include "raw_peer.h"
#include "server.h"

namespace {

using noxipc::Kind;
using testing::ElementsAre;

// More than half of what is read at once, so that each is read by itself.
const std::string kLong(40000, 'x');

struct Asker {
    std::vector<std::string> answers;  // their first characters
    std::vector<int> statuses;
    std::chrono::milliseconds first_takes{0};

    static void OnResponse(int status, unsigned /*type*/, const char* data, unsigned len,
                           void* user) {
        auto* self = static_cast<Asker*>(user);
        self->statuses.push_back(status);
        self->answers.emplace_back(data == nullptr ? "" : std::string(data, len).substr(0, 1));
        std::this_thread::sleep_for(self->first_takes);
        self->first_takes = {};
    }
};

class TurnsTest : public BusTest {
  protected:
    void Ask(int timeout_s) {
        ASSERT_EQ(0, nox_ipc_make_request(client.get(), AddressOf("server").get(), 7, "x", 1,
                                          Asker::OnResponse, &asker, timeout_s));
    }

    // The peer's side of the connection, with the requests that have come.
    struct Accepted {
        RawPeer peer;
        std::vector<unsigned> ids;
    };
    static Accepted Accept(RawListener& listener) {
        auto peer = listener.Accept();
        EXPECT_TRUE(peer);
        Accepted accepted{std::move(*peer), {}};
        for (const auto& frame : accepted.peer.Receive()) {
            if (frame.header.kind == Kind::kRequest) {
                accepted.ids.push_back(frame.header.id);
            }
        }
        return accepted;
    }

    const Instance client = Join("client");
    Asker asker;
};

TEST_F(TurnsTest, WhatAPeerLeftBehindIsReadBeforeItsSuccessorsResponses) {
    std::optional<RawListener> listener(std::in_place, "server");
    for (int i = 0; i < 3; ++i) {
        Ask(60);
    }
    Accepted old = Accept(*listener);
    ASSERT_EQ(3U, old.ids.size());
    for (std::size_t i = 0; i < 3; ++i) {
        old.peer.Send(FrameBytes(Kind::kResponse, 7, old.ids[i], std::to_string(i) + kLong));
    }
    old.peer.Close();
    listener.emplace("server");
    Ask(60);
    Accepted successor = Accept(*listener);
    ASSERT_EQ(1U, successor.ids.size());
    successor.peer.Send(FrameBytes(Kind::kResponse, 7, successor.ids[0], "3"));
    asker.first_takes = std::chrono::milliseconds(30);
    RunUntil([&] { return asker.answers.size() == 4; });
    EXPECT_THAT(asker.answers, ElementsAre("0", "1", "2", "3"));
    EXPECT_THAT(asker.statuses, ElementsAre(0, 0, 0, 0));
}

TEST_F(TurnsTest, AResponseThatCameInTimeIsNotLateBecauseTheOneBeforeTookLong) {
    RawListener listener("server");
    Ask(60);
    Ask(1);
    Accepted server = Accept(listener);
    ASSERT_EQ(2U, server.ids.size());
    for (const unsigned id : server.ids) {
        server.peer.Send(FrameBytes(Kind::kResponse, 7, id, kLong));
    }
    asker.first_takes = std::chrono::milliseconds(1100);
    RunUntil([&] { return asker.statuses.size() == 2; });
    EXPECT_THAT(asker.statuses, ElementsAre(0, 0));
}

TEST_F(TurnsTest, ARequestToASuccessorTimesOutAllTheSame) {
    std::optional<RawListener> listener(std::in_place, "server");
    Ask(60);
    Accepted old = Accept(*listener);
    old.peer.Close();
    listener.emplace("server");
    Ask(1);
    RunUntil([&] { return asker.statuses.size() == 2; });
    EXPECT_THAT(asker.statuses, ElementsAre(ECONNRESET, ETIMEDOUT));
}

}  // namespace
