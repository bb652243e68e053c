// An agent that was copied to another machine with its id, and the manager of both.
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "quiet_machine.h"

namespace kxtest {
namespace {

namespace fs = std::filesystem;

constexpr char kFirmwareId[] = "/sys/class/dmi/id/product_uuid";
constexpr char kSystemId[] = "/etc/machine-id";
constexpr char kCloneFlag[] = "config/clone_flag";
constexpr char kRecalculation[] = "config/recalculate_agentid";

// An agent on a machine of its own.
class Endpoint : public Agent {
  public:
    // `machine_id` is of 32 hexadecimal digits.
    Endpoint(const std::string& name, const std::string& machine_id)
        : Agent(name), m_name(name), m_machine_id(machine_id) {
        // The machine's id is told only to a manager on the same machine.
        installation().write("config/server.ini", "[config]\naddr=127.0.0.1\n");
    }

    // What the test starts from then on runs on this machine.
    bool EnterMachine() {
        return EnterOwnNetwork() && AddInterface("a", "10.1.0.1/24") && EnterOwnHostName(m_name) &&
               EnterOwnMounts() && Cover(kFirmwareId) && Cover(kSystemId);
    }

    // Starts the host on its machine, or stops it and starts it again, and returns when its upload
    // has been accepted.
    void StartThere() {
        if (m_host != nullptr) {
            ASSERT_EQ(m_host->stop(), 0);
        }
        ASSERT_TRUE(EnterMachine());
        const std::size_t accepted = CountOf(installation().log(), kAccepted);
        m_host = &StartSteppedHost();
        ASSERT_TRUE(WaitUntil([&] { return CountOf(installation().log(), kAccepted) > accepted; }))
            << installation().log();
    }
    void StepThere() {
        const std::size_t accepted = CountOf(installation().log(), kAccepted);
        StepToNextCycle();
        ASSERT_TRUE(WaitUntil([&] { return CountOf(installation().log(), kAccepted) > accepted; }));
    }

    long long KeptId() const { return std::atoll(installation().read("config/agent_id").c_str()); }
    bool Has(const char* file) const { return fs::exists(installation().path(file)); }

  private:
    static constexpr char kAccepted[] = "> to mgr success";

    bool Cover(const char* path) const {
        const std::string store = installation().path("covering").string();
        return !fs::exists(path) || CoverFile(path, store, m_machine_id + "\n");
    }

    std::string m_name;
    std::string m_machine_id;
    Program* m_host = nullptr;
};

// Uploads are numbered as they reach the manager, which runs in the original's installation and
// prints them. The copy's bus leads to it by a link.
class Clone : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!fs::exists(kFirmwareId) && !fs::exists(kSystemId)) {
            GTEST_SKIP() << "this machine has no id that could be another";
        }
        if (!original.EnterMachine()) {
            GTEST_SKIP() << "namespaces need root";
        }
        const char* const socket = "var/run/ipc/mgr_ei.sock";
        fs::create_directories(copy.installation().path(socket).parent_path());
        fs::create_symlink(original.installation().path(socket), copy.installation().path(socket));
    }

    void CopyId() {
        copy.installation().write("config/agent_id",
                                  original.installation().read("config/agent_id"));
    }

    // Upload 0 is the original's then, upload 1 the copy's.
    void StartBoth(std::vector<std::string> manager_arguments = {}) {
        original.StartManager(std::move(manager_arguments));
        ASSERT_NO_FATAL_FAILURE(original.StartThere());
        CopyId();
        ASSERT_NO_FATAL_FAILURE(copy.StartThere());
    }

    Json Upload(std::size_t number) { return original.Upload(number); }
    long long AgentId(std::size_t number) {
        return Number(Upload(number).get(), "epinfo.agent_id");
    }
    long long IsDuplicate(std::size_t number) {
        return Number(Upload(number).get(), "answer.duplicate");
    }
    long long RedrawnAt(std::size_t number) {
        return Number(Upload(number).get(), "epinfo.sys_info.base_info.recal_timestamp");
    }
    std::string HostName(std::size_t number) {
        return Text(Upload(number).get(), "epinfo.sys_info.base_info.host_node");
    }

    Endpoint original{"original", std::string(32, '1')};
    Endpoint copy{"copy", std::string(32, '2')};
};

TEST_F(Clone, IsToldToTheCopyAlone) {
    ASSERT_NO_FATAL_FAILURE(StartBoth());
    EXPECT_EQ(HostName(0), "original");
    EXPECT_EQ(HostName(1), "copy");
    EXPECT_EQ(AgentId(1), AgentId(0));
    EXPECT_EQ(IsDuplicate(0), 0);
    EXPECT_EQ(IsDuplicate(1), 1);
    EXPECT_TRUE(copy.Logs("duplicate:1"));
    EXPECT_EQ(copy.Ctl({"online"}).output, "online\n");
    EXPECT_EQ(copy.installation().read(kCloneFlag), "1");
    EXPECT_TRUE(copy.Has(kRecalculation));
    EXPECT_EQ(copy.installation().read(kRecalculation), "");
    EXPECT_FALSE(original.Has(kCloneFlag));
    EXPECT_FALSE(original.Has(kRecalculation));
}

TEST_F(Clone, KeepsItsIdUntilItsHostIsStartedAgain) {
    ASSERT_NO_FATAL_FAILURE(StartBoth());
    ASSERT_TRUE(copy.Logs("recalculate"));
    ASSERT_NO_FATAL_FAILURE(copy.StepThere());
    EXPECT_EQ(AgentId(2), AgentId(0));
    EXPECT_EQ(copy.KeptId(), original.KeptId());
}

TEST_F(Clone, HasAnIdOfItsOwnAfterItsRestartAndSaysSinceWhen) {
    ASSERT_NO_FATAL_FAILURE(StartBoth());
    ASSERT_TRUE(copy.Logs("recalculate"));
    ASSERT_TRUE(WaitUntil([&] { return copy.Has(kRecalculation); }));
    struct stat flag {};
    ASSERT_EQ(stat(copy.installation().path(kRecalculation).c_str(), &flag), 0);
    EXPECT_EQ(RedrawnAt(1), 0);

    ASSERT_NO_FATAL_FAILURE(copy.StartThere());
    EXPECT_EQ(HostName(2), "copy");
    EXPECT_NE(AgentId(2), AgentId(0));
    EXPECT_EQ(AgentId(2), copy.KeptId());
    EXPECT_EQ(RedrawnAt(2), flag.st_ctime);
    EXPECT_EQ(IsDuplicate(2), 0);

    ASSERT_NO_FATAL_FAILURE(copy.StartThere());
    EXPECT_EQ(AgentId(3), AgentId(2));
    EXPECT_EQ(RedrawnAt(3), flag.st_ctime);
    EXPECT_EQ(IsDuplicate(3), 0);
}

TEST_F(Clone, IsNothingToTheOriginal) {
    ASSERT_NO_FATAL_FAILURE(StartBoth());
    ASSERT_NO_FATAL_FAILURE(original.StepThere());
    EXPECT_EQ(AgentId(2), AgentId(0));
    ASSERT_NO_FATAL_FAILURE(original.StartThere());
    EXPECT_EQ(HostName(3), "original");
    EXPECT_EQ(AgentId(3), AgentId(0));
    EXPECT_EQ(RedrawnAt(3), 0);
    EXPECT_EQ(IsDuplicate(3), 0);
    EXPECT_EQ(original.installation().log().find("duplicate:"), std::string::npos);
}

TEST_F(Clone, IsKnownToAManagerThatWasKilledAndKeepsADatabase) {
    const std::vector<std::string> database = {
        "--db", original.installation().path("var/uploads.db").string()};
    original.StartManager(database);
    ASSERT_NO_FATAL_FAILURE(original.StartThere());
    original.manager().signal(SIGKILL);
    ASSERT_EQ(original.manager().wait(), 128 + SIGKILL);
    original.StartManager(database);
    CopyId();
    ASSERT_NO_FATAL_FAILURE(copy.StartThere());
    EXPECT_EQ(HostName(0), "copy");
    EXPECT_EQ(IsDuplicate(0), 1);
    EXPECT_TRUE(WaitUntil([&] { return copy.Has(kRecalculation); }));
    EXPECT_EQ(copy.installation().read(kCloneFlag), "1");
}

}  // namespace
}  // namespace kxtest
