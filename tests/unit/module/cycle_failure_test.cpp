// A cycle whose steps fail. The steps are replaced by the linker's --wrap.
#include <gmock/gmock.h>

#include <cerrno>
#include <functional>
#include <new>

#include "collectors/agentres.h"
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
    int add = 0;
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
        return behaviour.add;
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
        ASSERT_EQ(ipc.IpcInit(), 0);
        ClearJournal();
    }
    void TearDown() override { EXPECT_EQ(serializers_alive, 0); }

    int Run() { return ProcessMain(&ipc, &exit_flag); }

    CEpInfoIpc ipc;
    int exit_flag = 0;
};

const char* const kSend = "nox_ipc_make_request agt_ei mgr_ei type 0";

}  // namespace

TEST_F(FailingCycle, NothingFailsIsZero) {
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(Journal(), ElementsAre("create 1", "sample", "add 2", "serialise", kSend));
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
    EXPECT_EQ(Run(), 5);
    EXPECT_THAT(Journal(),
                ElementsAre("create 1", "sample",
                            "2 kxepinfo: Get agent resource information failed with error code: 5",
                            "add 2", "serialise", kSend));
}

TEST_F(FailingCycle, ResourceRecordThatCannotBeAddedIsMinusOneAndTheCycleGoesOn) {
    behaviour.add = -1;
    EXPECT_EQ(Run(), -1);
    EXPECT_THAT(Journal(), ElementsAre("create 1", "sample", "add 2",
                                       "2 kxepinfo: Add resource information into serializer "
                                       "failed",
                                       "serialise", kSend));
}

TEST_F(FailingCycle, AFailedAddReplacesTheCollectorsCode) {
    behaviour.sample = 5;
    behaviour.add = 7;
    EXPECT_EQ(Run(), -1);
}

TEST_F(FailingCycle, FailedSerialisationIsMinusOneAndSendsAnEmptyUpload) {
    behaviour.serialise = 3;
    EXPECT_EQ(Run(), -1);
    EXPECT_THAT(Journal(), ElementsAre("create 1", "sample", "add 2", "serialise",
                                       "2 kxepinfo: Failed to do message serialization", kSend));
    ASSERT_EQ(SentUploads().size(), 1U);
    EXPECT_EQ(SentUploads()[0].frame, std::string("3200\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\0", 20));
}

TEST_F(FailingCycle, AStopReturnsTheStatusAsItStands) {
    behaviour.sample = 5;
    exit_flag = 1;
    EXPECT_EQ(Run(), 5);
    EXPECT_THAT(Journal(),
                ElementsAre("create 1", "sample",
                            "2 kxepinfo: Get agent resource information failed with error code: 5",
                            "add 2", "3 kxepinfo: exit event occured, exit now...\\n"));
}

TEST_F(FailingCycle, AStopDuringSerialisationPreventsTheSend) {
    behaviour.while_serialising = [this] { exit_flag = 1; };
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(Journal(), ElementsAre("create 1", "sample", "add 2", "serialise",
                                       "3 kxepinfo: exit event occured, exit now...\\n"));
    EXPECT_THAT(SentUploads(), IsEmpty());
}

TEST_F(FailingCycle, AnUninstallationDuringSerialisationPreventsTheSend) {
    behaviour.while_serialising = [] { kxtest::WriteFile("bin/uninstalling", ""); };
    behaviour.serialise = -1;
    EXPECT_EQ(Run(), -1);
    EXPECT_THAT(Journal(), ElementsAre("create 1", "sample", "add 2", "serialise",
                                       "2 kxepinfo: Failed to do message serialization",
                                       "3 kxepinfo: exit event occured, exit now...\\n"));
}

TEST_F(FailingCycle, WantOfMemoryEndsTheCycleAndNothingElse) {
    behaviour.while_serialising = [] { throw std::bad_alloc(); };
    EXPECT_EQ(Run(), ENOMEM);
    EXPECT_THAT(Journal(),
                ElementsAre("create 1", "sample", "add 2", "serialise",
                            "1 kxepinfo: the collection cycle ended early: std::bad_alloc"));
    EXPECT_THAT(SentUploads(), IsEmpty());
}
