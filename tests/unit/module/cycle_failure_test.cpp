// A cycle whose steps fail. The steps are replaced by the linker's --wrap.
#include <gmock/gmock.h>

#include <cerrno>
#include <functional>
#include <new>

#include "collectors/agentres.h"
#include "common/state.h"
#include "fixed_collectors.h"
#include "installation.h"
#include "ipc/epinfoipc.h"
#include "module/cycle.h"
#include "msghandler/msgbase.h"
#include "recording_agent.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

// A serializer that does what a test says.
struct Behaviour {
    bool created = true;
    int add_resource = 0;
    int add_agent = 0;
    int add_login = 0;
    int serialise = 0;
    int sample = 0;
    std::function<void()> while_serialising = [] {};
};
Behaviour behaviour;
int serializers_alive = 0;

class FakeSerializer : public CMsgBase {
  public:
    FakeSerializer() { ++serializers_alive; }
    ~FakeSerializer() override { --serializers_alive; }
    int AddDataToSerialize(void* /*data*/, _PROTO_MSG_TYPE type) override {
        Note("add " + std::to_string(type));
        return type == AGT_MGR_RC    ? behaviour.add_resource
               : type == AGT_MGR_SYS ? behaviour.add_agent
                                     : behaviour.add_login;
    }
    int DoMsgSerialize(std::string& out) override {
        Note("serialise");
        behaviour.while_serialising();
        if (behaviour.serialise == 0) {
            out = "bytes";
        }
        return behaviour.serialise;
    }
};

}  // namespace

extern "C" bool __wrap__Z17InitMsgSerializerPP8CMsgBasei(CMsgBase** out, int kind) {
    Note("create " + std::to_string(kind));
    if (behaviour.created) {
        *out = new FakeSerializer;
    }
    return behaviour.created;
}

extern "C" int __wrap__Z19GetAgentResoureInfoR9_stResmon(_stResmon& /*resmon*/) {
    Note("sample");
    return behaviour.sample;
}

namespace {

class FailingCycle : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        behaviour = Behaviour{};
        UseRecordingAgent();
        ResetCollectors();
        ASSERT_EQ(ipc.IpcInit(), 0);
        ClearJournal();
    }
    void TearDown() override { EXPECT_EQ(serializers_alive, 0); }

    int Run() { return ProcessMain(&ipc, &exit_flag); }

    CEpInfoIpc ipc;
    int exit_flag = 0;
};

using Events = std::vector<std::string>;

const Events kBegin = {"create 1", "sample", "add 2"};
// Agent facts and login, neither of which has changed.
const Events kUnchanged = {"collect agent", "compare agent", "collect login", "compare login"};
const Events kSent = {"serialise", "nox_ipc_make_request agt_ei mgr_ei type 0"};
const Events kExit = {"3 kxepinfo: exit event occured, exit now...\\n"};

Events Whole(std::initializer_list<Events> parts) {
    Events whole;
    for (const Events& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

}  // namespace

TEST_F(FailingCycle, NothingFailsIsZero) {
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Journal(), Whole({kBegin, kUnchanged, kSent}));
    EXPECT_EQ(LastUpload(), "bytes");
}

TEST_F(FailingCycle, WithoutASerializerNothingIsCollectedOrSent) {
    behaviour.created = false;
    EXPECT_EQ(Run(), -1);
    EXPECT_THAT(Journal(), ElementsAre("create 1",
                                       "2 kxepinfo: initialize msg serializer failed, stop to "
                                       "query information"));
}

TEST_F(FailingCycle, ResourceRecordIsAddedWhateverItsCollectorReports) {
    behaviour.sample = 5;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(
        Journal(),
        Whole({{"create 1", "sample",
                "2 kxepinfo: Get agent resource information failed with error code: 5", "add 2"},
               kUnchanged,
               kSent}));
}

TEST_F(FailingCycle, ResourceRecordThatCannotBeAddedDoesNotStopTheCycle) {
    behaviour.add_resource = -1;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Journal(), Whole({kBegin,
                                {"2 kxepinfo: Add resource information into serializer failed"},
                                kUnchanged,
                                kSent}));
}

TEST_F(FailingCycle, AgentFactsThatFailedAreStillComparedAndKept) {
    Collectors().agent = [](_stAgentInfo& agent) {
        agent.sys_info.host_node = "as far as known";
        return 13;
    };
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Journal(), Whole({kBegin,
                                {"collect agent",
                                 "2 kxepinfo: Get agent information failed with error code:13",
                                 "compare agent", "collect login", "compare login"},
                                kSent}));
    EXPECT_EQ(s_lastAgentInfo.sys_info.host_node, "as far as known");
}

TEST_F(FailingCycle, AgentFactsThatCannotBeAddedAreCountedAsAdded) {
    s_checkAgentTimes = 7;
    behaviour.add_agent = -1;
    Collectors().agent_changed = [](_stAgentInfo&, _stAgentInfo&) { return true; };
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Journal(),
              Whole({kBegin,
                     {"collect agent", "compare agent", "3 kxepinfo: agent info changed",
                      "3 kxepinfo: basic information changed or have checked agent info 15 times, "
                      "upload now...\\n",
                      "add 4", "2 kxepinfo: Add agent information into serializer failed",
                      "collect login", "compare login"},
                     kSent}));
    EXPECT_EQ(s_checkAgentTimes, 0);
}

TEST_F(FailingCycle, NoLoginIsLoggedAndReturnedAsTheCyclesStatus) {
    Collectors().login = [](_stUsrLogInfo&) { return -1; };
    EXPECT_EQ(Run(), -1);
    EXPECT_EQ(Journal(), Whole({kBegin,
                                {"collect agent", "compare agent", "collect login",
                                 "2 kxepinfo: Get user login information failed with error: -1",
                                 "compare login"},
                                kSent}));
}

TEST_F(FailingCycle, LoginThatCannotBeAddedHasTheAgentFactsText) {
    behaviour.add_login = 1;
    Collectors().login_changed = [](const _stUsrLogInfo&, const _stUsrLogInfo&) { return true; };
    EXPECT_EQ(Run(), -1);
    EXPECT_EQ(Journal(),
              Whole({kBegin,
                     kUnchanged,
                     {"add 8", "2 kxepinfo: Add agent information into serializer failed"},
                     kSent}));
}

TEST_F(FailingCycle, FailedSerialisationIsMinusOneAndSendsAnEmptyUpload) {
    behaviour.serialise = 3;
    EXPECT_EQ(Run(), -1);
    EXPECT_EQ(Journal(),
              Whole({kBegin,
                     kUnchanged,
                     {kSent[0], "2 kxepinfo: Failed to do message serialization", kSent[1]}}));
    ASSERT_EQ(SentUploads().size(), 1U);
    EXPECT_EQ(SentUploads()[0].frame, std::string("3200\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\0", 20));
}

// What is returned is what the last step that can fail has left, not the worst of them.

TEST_F(FailingCycle, TheLastCollectorsSuccessHidesEarlierFailures) {
    behaviour.sample = 5;
    behaviour.add_resource = -1;
    Collectors().agent = [](_stAgentInfo&) { return 13; };
    EXPECT_EQ(Run(), 0);
}

TEST_F(FailingCycle, AStopAfterSamplingReturnsWhatSamplingLeft) {
    behaviour.sample = 5;
    exit_flag = 1;
    EXPECT_EQ(Run(), 5);
    EXPECT_EQ(
        Journal(),
        Whole({{"create 1", "sample",
                "2 kxepinfo: Get agent resource information failed with error code: 5", "add 2"},
               kExit}));
}

TEST_F(FailingCycle, AFailedAddReplacesTheCollectorsCode) {
    behaviour.sample = 5;
    behaviour.add_resource = 7;
    exit_flag = 1;
    EXPECT_EQ(Run(), -1);
}

TEST_F(FailingCycle, AStopWhileAgentFactsAreCollectedReturnsTheirCode) {
    Collectors().agent = [this](_stAgentInfo&) {
        exit_flag = 1;
        return 13;
    };
    EXPECT_EQ(Run(), 13);
}

TEST_F(FailingCycle, AStopDuringSerialisationPreventsTheSend) {
    behaviour.while_serialising = [this] { exit_flag = 1; };
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Journal(), Whole({kBegin, kUnchanged, {"serialise"}, kExit}));
    EXPECT_THAT(SentUploads(), IsEmpty());
}

TEST_F(FailingCycle, AnUninstallationDuringSerialisationPreventsTheSend) {
    behaviour.while_serialising = [] { kxtest::WriteFile("bin/uninstalling", ""); };
    behaviour.serialise = -1;
    EXPECT_EQ(Run(), -1);
    EXPECT_EQ(Journal(), Whole({kBegin,
                                kUnchanged,
                                {"serialise", "2 kxepinfo: Failed to do message serialization"},
                                kExit}));
}

TEST_F(FailingCycle, WantOfMemoryEndsTheCycleAndNothingElse) {
    behaviour.while_serialising = [] { throw std::bad_alloc(); };
    EXPECT_EQ(Run(), ENOMEM);
    EXPECT_EQ(
        Journal(),
        Whole({kBegin,
               kUnchanged,
               {"serialise", "1 kxepinfo: the collection cycle ended early: std::bad_alloc"}}));
    EXPECT_THAT(SentUploads(), IsEmpty());
}
