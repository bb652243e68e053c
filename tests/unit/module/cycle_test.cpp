#include "module/cycle.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <memory>
#include <string_view>

#include "epinfo.pb.h"
#include "fixed_collectors.h"
#include "installation.h"
#include "ipc/epinfoipc.h"
#include "ipc/response.h"
#include "recording_agent.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

int looks_for_uninstallation = 0;

class CollectionCycle : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        UseRecordingAgent();
        ResetCollectors();
        ipc = std::make_unique<CEpInfoIpc>();
        ASSERT_EQ(ipc->IpcInit(), 0);
        ClearJournal();
        looks_for_uninstallation = 0;
    }

    // Requests a stop while processor load is sampled.
    Answers& StopWhileSampling() {
        Answers& answers = UseRecordingAgent();
        answers.sleep = [this] { exit_flag = 1; };
        return answers;
    }

    std::unique_ptr<CEpInfoIpc> ipc;
    int exit_flag = 0;
};

const char* const kResource = "4 kxepproto: cpu_usage:50.00(%),mem_total:1000(kB),mem_used:600(kB)";
const char* const kExit = "3 kxepinfo: exit event occured, exit now...\\n";

// What every cycle begins with.
std::vector<std::string> Sampled(std::initializer_list<std::string> rest) {
    std::vector<std::string> events = {"sleep 1",
                                       "4 agentres: cpu_used: 5000",
                                       "4 agentres: total = 1000",
                                       "4 agentres: available = 400",
                                       "4 agentres: mem_usaged: 600",
                                       "4 agentres: mem_total: 1000",
                                       kResource};
    events.insert(events.end(), rest);
    return events;
}

}  // namespace

// In front of the C library's, to count.
extern "C" int access(const char* path, int how) {
    if (std::string_view(path).ends_with("/uninstalling")) {
        ++looks_for_uninstallation;
    }
    static const auto next =
        reinterpret_cast<int (*)(const char*, int)>(dlsym(RTLD_NEXT, "access"));
    return next(path, how);
}

TEST_F(CollectionCycle, UploadsResourceUsage) {
    EXPECT_EQ(ProcessMain(ipc.get(), &exit_flag), 0);
    bf_kxepinfo::epinfo msg;
    ASSERT_TRUE(msg.ParseFromString(LastUpload()));
    EXPECT_EQ(msg.cmd(), 2U);
    EXPECT_EQ(msg.agent_id(), 4711U);
    EXPECT_EQ(msg.agent_timestamp(), 1700000000U);
    EXPECT_EQ(msg.rc_info().cpu_usage(), 5000U);
    EXPECT_EQ(msg.rc_info().mem_total(), 1000U);
    EXPECT_EQ(msg.rc_info().mem_usaged(), 600U);
    EXPECT_FALSE(msg.has_sys_info() || msg.has_login_info() || msg.has_ui_info());
}

TEST_F(CollectionCycle, SendsOneFramedRequestOfTypeZeroWhoseAnswerIsHandled) {
    EXPECT_EQ(ProcessMain(ipc.get(), &exit_flag), 0);
    ASSERT_EQ(SentUploads().size(), 1U);
    const SentUpload& upload = SentUploads()[0];
    EXPECT_EQ(upload.type, 0U);
    EXPECT_EQ(upload.frame.substr(0, 4), "3200");
    EXPECT_TRUE(upload.with_response_callback);
    EXPECT_EQ(upload.user, nullptr);
    EXPECT_EQ(upload.timeout_s, 5);
}

TEST_F(CollectionCycle, EveryCycleUploads) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(ProcessMain(ipc.get(), &exit_flag), 0);
    }
    EXPECT_EQ(SentUploads().size(), 3U);
}

TEST_F(CollectionCycle, AStopDuringSamplingEndsItWithoutASend) {
    StopWhileSampling();
    EXPECT_EQ(ProcessMain(ipc.get(), &exit_flag), 0);
    EXPECT_EQ(Journal(), Sampled({kExit}));
    EXPECT_THAT(SentUploads(), IsEmpty());
}

TEST_F(CollectionCycle, OnceAStopIsRequestedNoUninstallationIsLookedFor) {
    kxtest::WriteFile("bin/uninstalling", "");
    StopWhileSampling();
    EXPECT_EQ(ProcessMain(ipc.get(), &exit_flag), 0);
    EXPECT_EQ(looks_for_uninstallation, 0);
}

TEST_F(CollectionCycle, AnUninstallationEndsItWithoutASend) {
    kxtest::WriteFile("bin/uninstalling", "");
    EXPECT_EQ(ProcessMain(ipc.get(), &exit_flag), 0);
    EXPECT_EQ(looks_for_uninstallation, 1);
    EXPECT_EQ(Journal(), Sampled({kExit}));
    EXPECT_THAT(SentUploads(), IsEmpty());
}

TEST_F(CollectionCycle, WithTheUninstallationGoneUploadsGoOn) {
    const auto file = kxtest::WriteFile("bin/uninstalling", "");
    ProcessMain(ipc.get(), &exit_flag);
    std::filesystem::remove(file);
    ProcessMain(ipc.get(), &exit_flag);
    EXPECT_EQ(SentUploads().size(), 1U);
}

TEST_F(CollectionCycle, AnUninstallationIsLookedForAtEachOfThreePoints) {
    EXPECT_EQ(ProcessMain(ipc.get(), &exit_flag), 0);
    EXPECT_EQ(looks_for_uninstallation, 3);
}

TEST_F(CollectionCycle, AnyNumberButZeroIsAStop) {
    exit_flag = 2;
    EXPECT_EQ(ProcessMain(ipc.get(), &exit_flag), 0);
    EXPECT_THAT(SentUploads(), IsEmpty());
}

TEST_F(CollectionCycle, ASendThatFailsDoesNotCount) {
    CEpInfoIpc not_initialised;
    EXPECT_EQ(ProcessMain(&not_initialised, &exit_flag), 0);
    EXPECT_THAT(Journal().back(),
                "2 epinfoipc: IPC has not initialized, please initilize before using\\n");
}
