#include "kxemgr/manager.h"

#include <gmock/gmock.h>

#include <string>

#include "common/frame.h"
#include "complaint_line.h"
#include "epinfo.pb.h"
#include "kxemgr/answer.h"

using bf_kxepinfo::epinfo_msg_respone;
using kxapp::Delivery;

namespace {

constexpr char kPayload[] = "\x08\x02\x10\x2A";

struct Handled {
    kxapp::Reply reply;
    std::string output;
    std::string errors;
};

Handled Handle(kxemgr::Manager& manager, unsigned type, const std::string& data) {
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    Handled handled;
    handled.reply = manager.handle({"agt_ei", 7, type, data});
    handled.output = ::testing::internal::GetCapturedStdout();
    handled.errors = ::testing::internal::GetCapturedStderr();
    return handled;
}

epinfo_msg_respone Answer(const kxapp::Reply& reply) {
    std::string fault;
    const auto payload = kxapp::PayloadOfFrame(reply.data, fault);
    EXPECT_EQ(fault, "");
    epinfo_msg_respone answer;
    EXPECT_TRUE(answer.ParseFromString(std::string(payload.value_or(""))));
    return answer;
}

kxapp::FaultPlan Plan(const char* fault) {
    kxapp::FaultPlan plan(kxemgr::FaultKinds());
    EXPECT_EQ(plan.add(fault), "");
    return plan;
}

kxapp::FaultPlan NoFaults() {
    return kxapp::FaultPlan(kxemgr::FaultKinds());
}

}  // namespace

TEST(Manager, ShowsAndAcceptsAnUpload) {
    kxemgr::Manager manager({}, NoFaults(), nullptr);
    const Handled handled = Handle(manager, 0, kxapp::MakeFrame(kPayload));
    EXPECT_EQ(handled.output.substr(handled.output.find("  ")), "  agent 42 (agt_ei)  resources\n");
    EXPECT_EQ(handled.errors, "");
    EXPECT_EQ(handled.reply.delivery, Delivery::kNow);
    EXPECT_EQ(Answer(handled.reply).status(), 1U);
    EXPECT_EQ(Answer(handled.reply).cmd_type(), 2U);
}

TEST(Manager, ShowsAndRefusesAnUploadThatNamesNoAgent) {
    kxemgr::Manager manager({}, NoFaults(), nullptr);
    const Handled handled = Handle(manager, 0, kxapp::MakeFrame(""));
    EXPECT_NE(handled.output, "");
    EXPECT_EQ(handled.errors, "");
    EXPECT_EQ(Answer(handled.reply).status(), 0U);
    EXPECT_EQ(Answer(handled.reply).res_msg(), "the upload names no agent");
}

TEST(Manager, ShowsJsonWhenAsked) {
    kxemgr::Options options;
    options.json = true;
    kxemgr::Manager manager(options, NoFaults(), nullptr);
    const Handled handled = Handle(manager, 0, kxapp::MakeFrame(kPayload));
    EXPECT_EQ(handled.output.substr(0, 14), "{\"received\": \"");
    EXPECT_EQ(handled.output.back(), '\n');
}

TEST(Manager, RefusesABadFrameWithALine) {
    kxemgr::Options options;
    options.count = 1;
    kxemgr::Manager manager(options, NoFaults(), nullptr);
    const Handled handled = Handle(manager, 0, "bad");
    EXPECT_EQ(handled.output, "");
    EXPECT_EQ(handled.errors,
              Line("bad upload from agt_ei: frame of 3 bytes, shorter than its header of 20"));
    EXPECT_EQ(Answer(handled.reply).ShortDebugString(),
              "res_msg: \"frame of 3 bytes, shorter than its header of 20\"");
    EXPECT_FALSE(manager.done());
}

TEST(Manager, LeavesARequestOfAnotherTypeUnanswered) {
    kxemgr::Manager manager({}, NoFaults(), nullptr);
    const Handled handled = Handle(manager, 5, kxapp::MakeFrame(kPayload));
    EXPECT_EQ(handled.output, "");
    EXPECT_EQ(handled.errors, Line("request of type 5 from agt_ei is not understood"));
    EXPECT_EQ(handled.reply.delivery, Delivery::kNever);
}

TEST(Manager, IsDoneAfterTheWantedUploads) {
    kxemgr::Options options;
    options.count = 2;
    kxemgr::Manager manager(options, NoFaults(), nullptr);
    EXPECT_EQ(Handle(manager, 0, kxapp::MakeFrame(kPayload)).reply.delivery, Delivery::kNow);
    EXPECT_FALSE(manager.done());
    EXPECT_EQ(Handle(manager, 0, kxapp::MakeFrame(kPayload)).reply.delivery, Delivery::kNow);
    EXPECT_TRUE(manager.done());
    const Handled behind = Handle(manager, 0, kxapp::MakeFrame(kPayload));
    EXPECT_EQ(behind.output, "");
    EXPECT_EQ(behind.reply.delivery, Delivery::kNever);
}

TEST(Manager, AppliesAFaultForItsCount) {
    kxemgr::Manager manager({}, Plan("refuse:1"), nullptr);
    EXPECT_EQ(Answer(Handle(manager, 0, kxapp::MakeFrame(kPayload)).reply).status(), 0U);
    EXPECT_EQ(Answer(Handle(manager, 0, kxapp::MakeFrame(kPayload)).reply).status(), 1U);
}

TEST(Manager, ABadFrameUsesUpNoFault) {
    kxemgr::Manager manager({}, Plan("silent:1"), nullptr);
    EXPECT_EQ(Handle(manager, 0, "bad").reply.delivery, Delivery::kNow);
    EXPECT_EQ(Handle(manager, 0, kxapp::MakeFrame(kPayload)).reply.delivery, Delivery::kNever);
}

namespace {

// Agent 42 on a machine; host name, last two digits of its one MAC, virtual machine's id.
std::string SystemUpload(const char* host, const char* mac_end, std::uint64_t vm_id) {
    bf_kxepinfo::epinfo upload;
    upload.set_cmd(6);
    upload.set_agent_id(42);
    auto& system = *upload.mutable_sys_info();
    system.mutable_base_info()->set_host_node(host);
    system.mutable_base_info()->set_uvmid(vm_id);
    system.mutable_nw_info()->add_if_info()->set_if_mac(std::string("00-1A-2B-3C-4D-") + mac_end);
    return kxapp::MakeFrame(upload.SerializeAsString());
}

unsigned Duplicate(kxemgr::Manager& manager, const std::string& frame) {
    const epinfo_msg_respone answer = Answer(Handle(manager, 0, frame).reply);
    EXPECT_EQ(answer.status(), 1U);
    return answer.duplicate();
}

}  // namespace

TEST(ManagerClones, AreToldAndTheFirstMachineKeepsItsIdentity) {
    kxemgr::Manager manager({}, NoFaults(), nullptr);
    const std::string original = SystemUpload("a", "01", 1);
    const std::string clone = SystemUpload("b", "02", 2);
    EXPECT_EQ(Duplicate(manager, original), 0U);
    EXPECT_EQ(Duplicate(manager, clone), 1U);
    EXPECT_EQ(Duplicate(manager, original), 0U);
    EXPECT_EQ(Duplicate(manager, clone), 1U);
}

TEST(ManagerClones, AreNotSuspectedWithoutAgentFacts) {
    kxemgr::Manager manager({}, NoFaults(), nullptr);
    EXPECT_EQ(Duplicate(manager, SystemUpload("a", "01", 1)), 0U);
    EXPECT_EQ(Duplicate(manager, SystemUpload("b", "02", 2)), 1U);
    EXPECT_EQ(Duplicate(manager, kxapp::MakeFrame(kPayload)), 0U);
}

TEST(ManagerClones, AreShownToPeople) {
    kxemgr::Manager manager({}, NoFaults(), nullptr);
    Handle(manager, 0, SystemUpload("a", "01", 1));
    const Handled handled = Handle(manager, 0, SystemUpload("b", "02", 2));
    EXPECT_THAT(handled.output,
                testing::EndsWith("\n  duplicate: this agent id belongs to another machine\n"));
    EXPECT_EQ(handled.errors, "");
}

TEST(ManagerClones, AreRememberedAlsoWhenTheAnswerWasSpoilt) {
    kxemgr::Manager manager({}, Plan("silent:1"), nullptr);
    EXPECT_EQ(Handle(manager, 0, SystemUpload("a", "01", 1)).reply.delivery, Delivery::kNever);
    EXPECT_EQ(Duplicate(manager, SystemUpload("b", "02", 2)), 1U);
}

TEST(ManagerFaults, ADuplicateByFaultMovesNoIdentity) {
    kxemgr::Manager manager({}, Plan("duplicate:1"), nullptr);
    EXPECT_EQ(Duplicate(manager, SystemUpload("a", "01", 1)), 1U);
    EXPECT_EQ(Duplicate(manager, SystemUpload("a", "01", 1)), 0U);
    EXPECT_EQ(Duplicate(manager, SystemUpload("b", "02", 2)), 1U);
}
