// What arrives at the manager.
#include <atomic>
#include <ctime>
#include <fstream>
#include <thread>

#include "agent.h"

namespace kxtest {
namespace {

using Uploads = AgentTest;

long long KernelMemTotal() {
    std::ifstream file("/proc/meminfo");
    std::string name;
    long long kilobytes = 0;
    file >> name >> kilobytes;
    return name == "MemTotal:" ? kilobytes : -1;
}

// Keeps every processor busy while it lives.
class Load {
  public:
    Load() {
        for (unsigned i = 0; i < std::max(1U, std::thread::hardware_concurrency()); ++i) {
            m_threads.emplace_back([this] {
                while (!m_stop) {
                }
            });
        }
    }
    ~Load() {
        m_stop = true;
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

  private:
    std::atomic<bool> m_stop{false};
    std::vector<std::thread> m_threads;
};

TEST_F(Uploads, CarryTheResourceUsageOfThisMachine) {
    StartManager();
    StartHost();
    const Json upload = Upload(0);
    ASSERT_NE(upload, nullptr);
    EXPECT_EQ(Text(upload.get(), "from"), "agt_ei");
    EXPECT_EQ(Number(upload.get(), "epinfo.cmd") & 2, 2);
    EXPECT_EQ(Number(upload.get(), "epinfo.rc_info.mem_total"), KernelMemTotal());
    EXPECT_GT(Number(upload.get(), "epinfo.rc_info.mem_usaged"), 0);
    EXPECT_LE(Number(upload.get(), "epinfo.rc_info.mem_usaged"), KernelMemTotal());
    EXPECT_GE(Number(upload.get(), "epinfo.rc_info.cpu_usage"), 0);
    EXPECT_LE(Number(upload.get(), "epinfo.rc_info.cpu_usage"), 10000);
}

TEST_F(Uploads, AreStampedWithTheAgentsIdAndTheTime) {
    const long long before = std::time(nullptr);
    StartManager();
    StartHost();
    const Json upload = Upload(0);
    ASSERT_NE(upload, nullptr);
    EXPECT_EQ(Number(upload.get(), "epinfo.agent_id"),
              std::stoll(installation().read("config/agent_id")));
    EXPECT_GE(Number(upload.get(), "epinfo.agent_timestamp"), before);
    EXPECT_LE(Number(upload.get(), "epinfo.agent_timestamp"), std::time(nullptr));
}

TEST_F(Uploads, AreAnsweredAndFollowEachOther) {
    StartManager({"--count", "3"});
    StartHost();
    EXPECT_EQ(manager().wait(), 0);
    EXPECT_EQ(manager().wait_for_lines(3).size(), 3U);
    // The last answer was given before the manager ended; the module may still be reading it.
    EXPECT_TRUE(WaitUntil([&] { return CountOf(installation().log(), "to mgr success") == 3; }));
}

TEST_F(Uploads, TheAnswerSaysWhatItAnswers) {
    StartManager();
    StartHost();
    const Json upload = Upload(0);
    ASSERT_NE(upload, nullptr);
    EXPECT_EQ(Number(upload.get(), "answer.status"), 1);
    EXPECT_EQ(Number(upload.get(), "answer.cmd_type"), Number(upload.get(), "epinfo.cmd"));
    EXPECT_TRUE(Logs("The time difference between MGR and Agent is ["));
}

TEST_F(Uploads, TheProcessorFigureFollowsTheLoad) {
    StartManager();
    StartHost();
    ASSERT_NE(Upload(0), nullptr);
    const Load load;
    // The sample of the next upload may have begun before the load; the one behind it has not.
    const std::size_t so_far = manager().wait_for_lines(1).size();
    const Json upload = Upload(so_far + 1);
    ASSERT_NE(upload, nullptr);
    EXPECT_GE(Number(upload.get(), "epinfo.rc_info.cpu_usage"), 9000);
}

TEST_F(Uploads, StopWhileTheAgentIsBeingUninstalled) {
    StartManager();
    StartHost();
    ASSERT_NE(Upload(0), nullptr);
    installation().write("bin/uninstalling", "");
    ASSERT_TRUE(Logs("exit event occured, exit now..."));
    const std::size_t sent = manager().wait_for_lines(1).size();
    const std::size_t cut_short = CountOf(installation().log(), "exit event occured, exit now...");
    ASSERT_TRUE(WaitUntil([&] {
        return CountOf(installation().log(), "exit event occured, exit now...") >= cut_short + 2;
    }));
    EXPECT_EQ(manager().wait_for_lines(1).size(), sent);
    std::filesystem::remove(installation().path("bin/uninstalling"));
    EXPECT_NE(Upload(sent), nullptr);
}

TEST_F(Uploads, BeginWhenALateManagerComes) {
    StartHost();
    ASSERT_TRUE(Logs("send msg to mgr failed with error msg: "));
    StartManager();
    EXPECT_NE(Upload(0), nullptr);
    EXPECT_TRUE(Logs("to mgr success"));
}

TEST_F(Uploads, GoOnWithAManagerThatWasKilledAndCameBack) {
    StartManager();
    StartHost();
    ASSERT_NE(Upload(0), nullptr);
    manager().signal(SIGKILL);
    manager().wait();
    ASSERT_TRUE(Logs("send msg to mgr failed with error msg: "));
    StartManager();
    EXPECT_NE(Upload(0), nullptr);
}

TEST_F(Uploads, EveryLogLineHasTheLogsForm) {
    StartManager();
    StartHost();
    ASSERT_NE(Upload(1), nullptr);
    ASSERT_TRUE(Logs("stepped into timer callback function now..."));
    const std::string form =
        "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}[+-][0-9]{2}:[0-9]{2} "
        "[CEID] [0-9]+/[0-9]+ [A-Za-z_./]+:[0-9]+ .*";
    const std::string log = installation().log();
    for (std::size_t start = 0, end; (end = log.find('\n', start)) != std::string::npos;
         start = end + 1) {
        EXPECT_THAT(log.substr(start, end - start), testing::MatchesRegex(form));
    }
}

TEST_F(Uploads, TheLogLevelChangesAtRunTime) {
    installation().set_log_level(3);
    StartManager();
    StartHost();
    ASSERT_NE(Upload(1), nullptr);
    EXPECT_EQ(installation().log().find(" D "), std::string::npos);
    installation().set_log_level(4);
    EXPECT_TRUE(Logs("stepped into timer callback function now..."));
}

class LongPath : public AgentTest {
  protected:
    LongPath() : AgentTest(std::string(200, 'x')) {}
};

TEST_F(LongPath, AnInstallationWhosePathNoSocketAddressHoldsWorks) {
    ASSERT_GE(installation().root().string().size(), 200U);
    StartManager();
    StartHost();
    EXPECT_NE(Upload(0), nullptr);
    EXPECT_TRUE(Logs("to mgr success"));
}

}  // namespace
}  // namespace kxtest
