// The manager with a database: what it answers, shows and tells.
#include "kxemgr/manager.h"

#include <cerrno>

#include "common/frame.h"
#include "database_fixture.h"
#include "kxemgr/answer.h"

namespace kxtest {
namespace {

struct Handled {
    bf_kxepinfo::epinfo_msg_respone answer;
    std::string output;
    std::string errors;
};

class ManagerWithDatabase : public DatabaseTest {
  protected:
    static kxemgr::Manager MakeManager(const char* fault = "") {
        kxapp::FaultPlan plan(kxemgr::FaultKinds());
        if (*fault != '\0') {
            EXPECT_EQ(plan.add(fault), "");
        }
        return {{}, std::move(plan), Open()};
    }

    static Handled Handle(kxemgr::Manager& manager, const std::unique_ptr<SampleUpload>& sample) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const kxapp::Reply reply =
            manager.handle({"agt_ei", 7, 0, kxapp::MakeFrame(sample->payload)});
        Handled handled;
        handled.output = testing::internal::GetCapturedStdout();
        handled.errors = testing::internal::GetCapturedStderr();
        std::string fault;
        const auto payload = kxapp::PayloadOfFrame(reply.data, fault);
        EXPECT_TRUE(handled.answer.ParseFromString(std::string(payload.value_or("\xFF"))));
        return handled;
    }
};

TEST_F(ManagerWithDatabase, AcceptsWhatIsKept) {
    kxemgr::Manager manager = MakeManager();
    const Handled handled = Handle(manager, UploadOfMachine(1, 1));
    EXPECT_EQ(handled.answer.status(), 1U);
    EXPECT_EQ(handled.answer.duplicate(), 0U);
    EXPECT_EQ(handled.errors, "");
    EXPECT_EQ(Ask("SELECT count(*) FROM uploads"), "1");
}

TEST_F(ManagerWithDatabase, KnowsACloneAfterARestart) {
    {
        kxemgr::Manager manager = MakeManager();
        EXPECT_EQ(Handle(manager, UploadOfMachine(1, 1)).answer.duplicate(), 0U);
    }
    kxemgr::Manager manager = MakeManager();
    const Handled handled = Handle(manager, UploadOfMachine(1, 2));
    EXPECT_EQ(handled.answer.status(), 1U);
    EXPECT_EQ(handled.answer.duplicate(), 1U);
}

TEST_F(ManagerWithDatabase, RefusesWhatCannotBeKept) {
    kxemgr::Manager manager = MakeManager();
    std::filesystem::remove(File());
    const Handled handled = Handle(manager, UploadOfMachine(1, 1));
    EXPECT_EQ(handled.answer.status(), 0U);
    EXPECT_EQ(handled.answer.cmd_type(), 6U);
    EXPECT_EQ(handled.answer.res_msg(),
              "the manager cannot keep the upload: the file has been moved or deleted");
    EXPECT_THAT(handled.output,
                testing::EndsWith("\n  refused: the manager cannot keep the upload: "
                                  "the file has been moved or deleted\n"));
    EXPECT_EQ(handled.errors, std::string(program_invocation_short_name) +
                                  ": upload from agt_ei is refused, since it cannot be kept: the "
                                  "file has been moved or deleted\n");
}

TEST_F(ManagerWithDatabase, KeepsWhatIsRefusedByFault) {
    kxemgr::Manager manager = MakeManager("refuse");
    EXPECT_EQ(Handle(manager, UploadOfMachine(1, 1)).answer.status(), 0U);
    EXPECT_EQ(Ask("SELECT count(*) FROM uploads"), "1");
}

TEST_F(ManagerWithDatabase, KeepsAndRefusesWhatNamesNoAgent) {
    kxemgr::Manager manager = MakeManager();
    const Handled handled = Handle(manager, UploadOfMachine(0, 1));
    EXPECT_EQ(handled.answer.status(), 0U);
    EXPECT_EQ(handled.answer.res_msg(), "the upload names no agent");
    EXPECT_EQ(Ask("SELECT count(*) FROM uploads"), "1");
    EXPECT_EQ(Ask("SELECT count(*) FROM agents"), "0");
}

TEST_F(ManagerWithDatabase, DoesNotKeepWhatIsNoUpload) {
    kxemgr::Manager manager = MakeManager();
    const auto broken = std::make_unique<SampleUpload>();
    broken->payload = "\x08";
    EXPECT_EQ(Handle(manager, broken).answer.status(), 0U);
    EXPECT_EQ(Ask("SELECT count(*) FROM uploads"), "0");
}

}  // namespace
}  // namespace kxtest
