// kxectl watch at a real manager, beside agents that send as fast as they are answered.
#include <gmock/gmock.h>
#include <signal.h>

#include <optional>
#include <sstream>

#include "e2e.h"

namespace kxtest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class Watch : public ::testing::Test {
  protected:
    Watch() {
        std::filesystem::create_hard_link(KX_UPLOAD_SENDER, m_installation.program("sender"));
    }

    Program& StartManager(std::vector<std::string> arguments = {}) {
        m_manager.reset();
        arguments.insert(arguments.begin(), "--json");
        m_manager.emplace(m_installation.program("kxemgr"), std::move(arguments));
        EXPECT_TRUE(m_installation.wait_for_bus("mgr_ei"));
        return *m_manager;
    }
    std::unique_ptr<Program> StartCtl(std::vector<std::string> arguments) {
        return std::make_unique<Program>(m_installation.program("kxectl"), std::move(arguments));
    }
    // One that is being told what comes: it has shown an upload of an agent that it makes up.
    std::unique_ptr<Program> StartWatch(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), {"watch", "--json", "--all"});
        auto watch = StartCtl(std::move(arguments));
        EXPECT_TRUE(WaitUntil([&] {
            Send(1, 1, "prelude");
            return !watch->output().empty() || !watch->running();
        })) << watch->errors();
        return watch;
    }
    void Send(int first, int count, const std::string& name = "agt_ei") const {
        const Finished sender = RunToEnd(m_installation.program("sender"),
                                         {"1", std::to_string(first), std::to_string(count), name});
        EXPECT_EQ(sender.status, 0) << sender.errors;
        EXPECT_EQ(CountOf(sender.output, "\n"), static_cast<std::size_t>(count)) << sender.output;
    }

    const AgentInstallation& installation() const { return m_installation; }

  private:
    AgentInstallation m_installation;
    std::optional<Program> m_manager;
};

// The numbers of the uploads of that sender, in the order in which they are shown.
std::vector<long long> NumbersOf(const std::string& output, const std::string& sender = "agt_ei") {
    std::vector<long long> numbers;
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line)) {
        const Json upload = ParseJson(line);
        if (Text(upload.get(), "from") == sender) {
            numbers.push_back(Number(upload.get(), "epinfo.agent_timestamp"));
        }
    }
    return numbers;
}

std::vector<long long> FirstNumbers(int count) {
    std::vector<long long> numbers;
    for (int i = 1; i <= count; ++i) {
        numbers.push_back(i);
    }
    return numbers;
}

// Kilobytes that the process has ever had in memory at a time.
long long PeakOf(const Program& program) {
    const Finished status =
        RunToEnd("/bin/grep", {"VmHWM", "/proc/" + std::to_string(program.pid()) + "/status"});
    return std::atoll(status.output.substr(status.output.find_first_of("0123456789")).c_str());
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// Sanitizers are slow, and keep what is freed.
constexpr int kUploads = 2000;
constexpr bool kMemoryTells = false;
#else
constexpr int kUploads = 10'000;
constexpr bool kMemoryTells = true;
#endif

TEST_F(Watch, ShowsTheLinesOfTheManagerAndEndsAtTheWantedNumber) {
    Program& manager = StartManager({"--fault", "refuse:1"});
    const auto watch = StartCtl({"watch", "--json", "--count", "3"});
    ASSERT_TRUE(WaitUntil([&] {
        Send(1, 1);
        return !watch->running();
    }));
    EXPECT_EQ(watch->wait(), 0) << watch->errors();
    EXPECT_EQ(CountOf(watch->output(), "\n"), 3U);
    EXPECT_THAT(manager.output(), HasSubstr(watch->output()));
}

TEST_F(Watch, ShowsBlocksForPeopleWithTheAnswerAndTheFault) {
    StartManager({"--fault", "duplicate"});
    const auto watch = StartCtl({"watch", "--count", "1"});
    ASSERT_TRUE(WaitUntil([&] {
        Send(1, 1);
        return !watch->running();
    }));
    EXPECT_THAT(watch->output(), HasSubstr("\n  host host 1"));
    EXPECT_THAT(watch->output(),
                testing::EndsWith("\n  duplicate: this agent id belongs to another machine\n"
                                  "  fault duplicate\n"));
}

TEST_F(Watch, ShowsThisInstallationsAgentUnlessAskedForAll) {
    StartManager();
    const auto all = StartWatch();
    const auto own = StartCtl({"watch", "--json", "--count", "1"});
    ASSERT_TRUE(WaitUntil([&] {
        Send(1, 1, "other");
        Send(2, 1);
        return !own->running();
    }));
    EXPECT_EQ(NumbersOf(own->output()), std::vector<long long>{2});
    EXPECT_TRUE(NumbersOf(own->output(), "other").empty());
    EXPECT_TRUE(WaitUntil([&] { return !NumbersOf(all->output(), "other").empty(); }));
    EXPECT_EQ(all->stop(), 0) << all->errors();
}

TEST_F(Watch, MissesNothingOfAFastAgent) {
    StartManager();
    const auto watch = StartWatch();
    Send(1, 500);
    EXPECT_TRUE(WaitUntil([&] { return NumbersOf(watch->output()).size() >= 500; }));
    watch->signal(SIGINT);
    EXPECT_EQ(watch->wait(), 0) << watch->errors();
    EXPECT_EQ(watch->errors(), "");
    EXPECT_EQ(NumbersOf(watch->output()), FirstNumbers(500));
}

TEST_F(Watch, ThatIsStuckHoldsUpNobodyAndIsToldWhatItMissed) {
    Program& manager = StartManager();
    const auto stuck = StartWatch();
    const auto well = StartWatch();
    stuck->signal(SIGSTOP);
    const long long before = PeakOf(manager);
    Send(1, kUploads);
    if (kMemoryTells) {
        EXPECT_LT(PeakOf(manager) - before, 32 * 1024);
    }
    EXPECT_TRUE(WaitUntil([&] {
        const auto shown = NumbersOf(well->output());
        return !shown.empty() && shown.back() == kUploads;
    }));
    stuck->signal(SIGCONT);
    Send(kUploads + 1, 1);
    // The newest are there, and what is not is told; both also where it was forgotten meanwhile.
    EXPECT_TRUE(WaitUntil([&] { return CountOf(stuck->errors(), "uploads missing here: ") == 1; }))
        << stuck->errors();
    EXPECT_TRUE(WaitUntil([&] {
        Send(kUploads + 2, 1);
        const auto shown = NumbersOf(stuck->output());
        return !shown.empty() && shown.back() == kUploads + 2;
    }));
    EXPECT_LT(NumbersOf(stuck->output()).size(), std::size_t{kUploads});
    EXPECT_EQ(stuck->stop(), 0);
    EXPECT_TRUE(manager.running());
}

TEST_F(Watch, ComesBackToAManagerThatWasStartedAnew) {
    Program& first = StartManager();
    const auto watch = StartWatch();
    first.signal(SIGKILL);
    first.wait();
    ASSERT_TRUE(WaitUntil([&] { return !watch->errors().empty(); }));
    EXPECT_THAT(watch->errors(), StartsWith("kxectl: the manager has gone: "));
    StartManager();
    ASSERT_TRUE(WaitUntil([&] {
        Send(1, 1);
        return !NumbersOf(watch->output()).empty();
    })) << watch->errors();
    EXPECT_THAT(watch->errors(), HasSubstr("kxectl: the manager is back\n"));
    EXPECT_EQ(watch->stop(), 0);
}

// An upload that comes before the watch has begun is not shown, so it may take more than one
// attempt.
TEST_F(Watch, SeesTheUploadOverWhichTheManagerEndsAllConversations) {
    EXPECT_TRUE(WaitUntil([&] {
        StartManager({"--fault", "close:1"});
        const auto watch = StartCtl({"watch", "--json", "--count", "1"});
        EXPECT_TRUE(installation().wait_for_bus("kxectl-" + std::to_string(watch->pid())))
            << watch->errors();
        EXPECT_TRUE(WaitUntil([&] {
            (void)RunToEnd(installation().program("sender"), {"1", "7", "1"});
            return !watch->running();
        }));
        return Text(ParseJson(watch->output()).get(), "fault") == "close";
    }));
}

TEST_F(Watch, IsRefusedBeyondTheBoundAndLetInOnceOneHasLeft) {
    StartManager();
    std::vector<std::unique_ptr<Program>> watches;
    for (int i = 0; i < 8; ++i) {
        watches.push_back(StartWatch());
    }
    const Finished refused = RunToEnd(installation().program("kxectl"), {"watch"});
    EXPECT_EQ(refused.status, 4) << refused.output;
    EXPECT_EQ(refused.errors, "kxectl: the manager refuses: 8 watch already\n");
    watches.back()->signal(SIGKILL);
    watches.back()->wait();
    const auto let_in = StartWatch();
    EXPECT_EQ(let_in->stop(), 0) << let_in->errors();
    EXPECT_EQ(let_in->errors(), "");
}

TEST_F(Watch, WithoutAManagerIsOneLineAndAStatusOfItsOwn) {
    const Finished finished = RunToEnd(installation().program("kxectl"), {"watch"});
    EXPECT_EQ(finished.status, 4);
    EXPECT_EQ(finished.output, "");
    EXPECT_EQ(finished.errors, "kxectl: no manager is there: Connection refused\n");
}

TEST_F(Watch, OfAManagerThatSaysNothingIsOneLineAndAStatusOfItsOwn) {
    Program& manager = StartManager();
    manager.signal(SIGSTOP);
    const Finished finished =
        RunToEnd(installation().program("kxectl"), {"--timeout", "1", "watch"});
    manager.signal(SIGCONT);
    EXPECT_EQ(finished.status, 4);
    EXPECT_EQ(finished.errors,
              "kxectl: the manager does not know how to be watched: Connection timed out\n");
}

}  // namespace
}  // namespace kxtest
