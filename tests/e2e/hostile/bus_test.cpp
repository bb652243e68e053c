// Whoever may join the bus, and means no good. All three programs that listen there are attacked at
// once, while uploads go from one to the other.
#include <deque>
#include <memory>
#include <sstream>

#include "agent_under_attack.h"
#include "attacker.h"
#include "xmsg.h"

namespace kxtest {
namespace {

using noxipc::Kind;

constexpr const char* kServers[] = {"agt_ei", "mgr_ei", "agt_cfgc"};

constexpr unsigned kUpload = 0;
constexpr unsigned kHeartbeat = 101;
constexpr unsigned kChanged = 1002;
constexpr unsigned kAddresses = 1004;
constexpr unsigned kQuestion = 1008;

constexpr std::size_t kMostConnections = 256;
constexpr uint32_t kLongest = uint32_t{16} << 20U;

class Bus : public AgentUnderAttack {
  protected:
    // Without what a cycle tells in detail.
    void SetUp() override {
        installation().set_log_level(3);
        StartAgent();
        m_log_at_first = installation().log().size();
    }

    // Of the module since the beginning, those of the bus alone.
    std::vector<std::string> BusLog() const {
        std::istringstream all(installation().log().substr(m_log_at_first));
        std::vector<std::string> lines;
        for (std::string line; std::getline(all, line);) {
            const std::size_t tag = line.find(" noxipc:");
            if (tag != std::string::npos) {
                lines.push_back(line.substr(line.find(' ', tag + 1) + 1));
            }
        }
        return lines;
    }

    void StepSome() {
        for (int i = 0; i < 3; ++i) {
            Step();
        }
    }

    Attacker& Connect(const char* server) {
        return m_attackers.emplace_back(installation(), server);
    }
    Attacker& ConnectAndGreet(const char* server, std::string_view name = "attacker") {
        Attacker& attacker = Connect(server);
        EXPECT_TRUE(attacker.Send(Greeting(name)));
        return attacker;
    }
    std::deque<Attacker>& attackers() { return m_attackers; }
    std::size_t ClosedCount() {
        std::size_t count = 0;
        for (Attacker& attacker : m_attackers) {
            count += attacker.IsClosed();
        }
        return count;
    }

  private:
    std::size_t m_log_at_first = 0;
    std::deque<Attacker> m_attackers;
};

TEST_F(Bus, OutlivesAFloodOfConnections) {
    constexpr std::size_t kTooMany = 300;
    for (const char* const server : kServers) {
        for (std::size_t i = 0; i < kTooMany; ++i) {
            (void)Connect(server).Send(Greeting("flood"));  // unless it is thrown out before
        }
    }
    // The manager and the centre have a connection of the module's besides.
    const std::size_t refused = 3 * (kTooMany - kMostConnections) + 2;
    EXPECT_TRUE(WaitUntil([&] { return ClosedCount() >= refused; })) << ClosedCount();
    StepSome();
    EXPECT_EQ(Ctl({"online"}).output, "");
    EXPECT_THAT(BusLog(), testing::Each("agt_ei has 256 connections, one more is refused"));
    EXPECT_THAT(BusLog().size(), testing::Ge(kTooMany - kMostConnections));
    attackers().clear();
    CheckCalm();
}

TEST_F(Bus, GoesOnUnderConnectionsWithoutEnd) {
    {
        std::deque<Flood> floods;
        for (const char* const server : kServers) {
            floods.emplace_back(installation(), server, std::string(24, '?'),
                                Flood::Answers::kRead);
        }
        StepSome();
    }
    EXPECT_TRUE(WaitUntil([&] { return !BusLog().empty(); }));
    EXPECT_THAT(BusLog(), testing::Each("flood sent a malformed frame, its connection ends"));
    CheckCalm();
}

// Each kind of request and message that the module knows, of several at once, of whom some do not
// read what they are answered.
TEST_F(Bus, GoesOnUnderRequestsWithoutEnd) {
    std::string requests;
    for (unsigned id = 1; id <= 100; ++id) {
        requests += FrameBytes(Kind::kRequest, kQuestion, id, "");
        requests += FrameBytes(Kind::kRequest, kHeartbeat, id, "");
    }
    std::string for_others;
    for (unsigned id = 1; id <= 100; ++id) {
        for_others += FrameBytes(Kind::kRequest, kUpload, id, "rubbish");
        for_others += FrameBytes(Kind::kRequest, kAddresses, id, "rubbish");
    }
    {
        std::deque<Flood> floods;
        for (const auto answers : {Flood::Answers::kRead, Flood::Answers::kLeftUnread}) {
            floods.emplace_back(installation(), "agt_ei", requests, answers);
            floods.emplace_back(installation(), "mgr_ei", for_others, answers);
            floods.emplace_back(installation(), "agt_cfgc", for_others, answers);
        }
        StepSome();
    }
    CheckCalm();
}

// Of a change of the configuration, which the module then asks for and writes to a file each time.
std::string Notification() {
    const std::unique_ptr<xmsg, decltype(&xmsg_release)> message(xmsg_new("flood"), xmsg_release);
    EXPECT_EQ(xmsg_add(message.get(), "global", 6, "1", 1), 0);
    std::string packed(xmsg_pack_size(message.get()), '\0');
    EXPECT_GE(xmsg_pack(message.get(), packed.data(), static_cast<unsigned>(packed.size())), 0);
    return FrameBytes(Kind::kMessage, kChanged, 0, packed);
}

TEST_F(Bus, GoesOnAndStopsUnderNotificationsWithoutEnd) {
    {
        const Flood first(installation(), "agt_ei", Notification(), Flood::Answers::kLeftUnread);
        const Flood second(installation(), "agt_ei", Notification(), Flood::Answers::kLeftUnread);
        StepSome();
        StopHost();
    }
    StartHostAgain();
    CheckCalm();
}

TEST_F(Bus, AnswersTenThousandQuestionsAtOnce) {
    constexpr unsigned kCount = 10000;
    std::string questions;
    for (unsigned id = 1; id <= kCount; ++id) {
        questions += FrameBytes(Kind::kRequest, kQuestion, id, "");
    }
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(ConnectAndGreet("agt_ei").Send(questions));
    }
    Step();
    for (Attacker& attacker : attackers()) {
        EXPECT_TRUE(WaitUntil([&] { return attacker.ResponseCount() == kCount; }))
            << attacker.ResponseCount();
    }
    attackers().clear();
    CheckCalm();
}

TEST_F(Bus, TakesTheLongestFrameAndNoLongerOne) {
    const std::string longest(kLongest, 'x');
    EXPECT_TRUE(ConnectAndGreet("agt_ei").Send(FrameBytes(Kind::kRequest, kQuestion, 1, longest)));
    EXPECT_TRUE(WaitUntil([&] { return attackers().back().ResponseCount() == 1; }));
    for (const char* const server : kServers) {
        Attacker& attacker = ConnectAndGreet(server, "long");
        EXPECT_TRUE(attacker.Send(FrameBytes(Kind::kRequest, kUpload, 1, longest)));
        EXPECT_TRUE(attacker.Send(HeaderBytes(Kind::kRequest, kUpload, 1, kLongest + 1)));
        EXPECT_TRUE(WaitUntil([&] { return attacker.IsClosed(); })) << server;
    }
    EXPECT_THAT(BusLog(), testing::ElementsAre("long sent a malformed frame, its connection ends"));
    attackers().clear();
    CheckCalm();
}

// At each program: one that says nothing, one that stops in a header, one in a payload, and one
// that goes on byte by byte.
TEST_F(Bus, ThrowsOutWhoIsSlowAfterFiveSeconds) {
    const std::string header = HeaderBytes(Kind::kRequest, kQuestion, 1, 1000);
    for (const char* const server : kServers) {
        Connect(server);
        EXPECT_TRUE(ConnectAndGreet(server, "slow").Send(header.substr(0, 10)));
        EXPECT_TRUE(ConnectAndGreet(server, "slow").Send(header + "half"));
        EXPECT_TRUE(ConnectAndGreet(server, "slow").Send(header));
    }
    Step();
    EXPECT_EQ(ClosedCount(), 0U);
    EXPECT_TRUE(WaitUntil([&] {
        for (std::size_t i = 3; i < attackers().size(); i += 4) {
            (void)attackers()[i].Send("x");
        }
        return ClosedCount() == attackers().size();
    }));
    constexpr char kSlow[] = "slow did not finish a frame in time, its connection ends";
    EXPECT_THAT(BusLog(), testing::UnorderedElementsAre(
                              "a peer without a name did not finish a frame in time, its "
                              "connection ends",
                              kSlow, kSlow, kSlow));
    attackers().clear();
    CheckCalm();
}

TEST_F(Bus, DropsWhatIsOfTheWrongKind) {
    const std::string unknown_kind = [] {
        std::string bytes = FrameBytes(Kind::kMessage, 1, 0, "");
        bytes[5] = 5;
        return bytes;
    }();
    for (const char* const server : kServers) {
        // Loses the connection.
        for (const std::string& bytes :
             {Greeting("again"), unknown_kind, FrameBytes(Kind::kMessage, 1, 7, "with an id"),
              std::string("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n")}) {
            EXPECT_TRUE(ConnectAndGreet(server).Send(bytes));
        }
        EXPECT_TRUE(Connect(server).Send(FrameBytes(Kind::kRequest, 1, 1, "not greeted")));
        EXPECT_TRUE(Connect(server).Send(Greeting("../mgr_ei")));
    }
    EXPECT_TRUE(WaitUntil([&] { return ClosedCount() == attackers().size(); }));
    EXPECT_EQ(BusLog().size(), attackers().size() / 3);
    for (const char* const server : kServers) {
        Attacker& attacker = ConnectAndGreet(server);
        for (const unsigned type :
             {kUpload, kHeartbeat, kChanged, kAddresses, kQuestion + 1, 0xffffffffU}) {
            for (const std::string_view payload : {"", "x", "3200\0\0\0\0\0\1\0\0\0\0"}) {
                EXPECT_TRUE(attacker.Send(FrameBytes(Kind::kRequest, type, 1, payload)));
                EXPECT_TRUE(attacker.Send(FrameBytes(Kind::kMessage, type, 0, payload)));
                EXPECT_TRUE(attacker.Send(FrameBytes(Kind::kResponse, type, 1, payload)));
            }
        }
    }
    Step();
    EXPECT_EQ(CountOf(installation().log(), "which was not asked, is dropped"), 18U);
    attackers().clear();
    CheckCalm();
}

// What the manager would answer to an upload that it refuses from an agent that has a twin.
std::string Refusal() {
    const std::string message("\x08\x00\x28\x01", 4);
    std::string frame("3200\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\0", 20);
    frame.back() = static_cast<char>(message.size());
    return frame + message;
}

// The upload is open, its number is easily guessed, and the sender says that he is the manager.
TEST_F(Bus, TakesAnAnswerFromTheManagersOwnConnectionAlone) {
    StartManager({"--fault", "silent:1000000"});
    ForgetUploads();
    Step();
    Attacker& forger = ConnectAndGreet("agt_ei", "mgr_ei");
    constexpr unsigned kGuesses = 1000;
    for (unsigned id = 0; id < kGuesses; ++id) {
        EXPECT_TRUE(forger.Send(FrameBytes(Kind::kResponse, kUpload, id, Refusal())));
    }
    EXPECT_TRUE(WaitUntil([&] { return BusLog().size() == kGuesses; }));
    EXPECT_THAT(BusLog(), testing::Each("a response of mgr_ei, which was not asked, is dropped"));
    EXPECT_EQ(Ctl({"online"}).output, "online\n");
    EXPECT_FALSE(std::filesystem::exists(installation().path("config/clone_flag")));
    EXPECT_FALSE(std::filesystem::exists(installation().path("config/recalculate_agentid")));
}

}  // namespace
}  // namespace kxtest
