#include "kxemgr/manager.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "common/frame.h"
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

std::string Line(const std::string& text) {
    return std::string(program_invocation_short_name) + ": " + text + "\n";
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
    kxemgr::Manager manager({}, NoFaults());
    const Handled handled = Handle(manager, 0, kxapp::MakeFrame(kPayload));
    EXPECT_EQ(handled.output.substr(handled.output.find("  ")), "  agent 42 (agt_ei)  resources\n");
    EXPECT_EQ(handled.errors, "");
    EXPECT_EQ(handled.reply.delivery, Delivery::kNow);
    EXPECT_EQ(Answer(handled.reply).status(), 1U);
    EXPECT_EQ(Answer(handled.reply).cmd_type(), 2U);
}

TEST(Manager, ShowsJsonWhenAsked) {
    kxemgr::Options options;
    options.json = true;
    kxemgr::Manager manager(options, NoFaults());
    const Handled handled = Handle(manager, 0, kxapp::MakeFrame(kPayload));
    EXPECT_EQ(handled.output.substr(0, 14), "{\"received\": \"");
    EXPECT_EQ(handled.output.back(), '\n');
}

TEST(Manager, RefusesABadFrameWithALine) {
    kxemgr::Options options;
    options.count = 1;
    kxemgr::Manager manager(options, NoFaults());
    const Handled handled = Handle(manager, 0, "bad");
    EXPECT_EQ(handled.output, "");
    EXPECT_EQ(handled.errors,
              Line("bad upload from agt_ei: frame of 3 bytes, shorter than its header of 20"));
    EXPECT_EQ(Answer(handled.reply).ShortDebugString(),
              "res_msg: \"frame of 3 bytes, shorter than its header of 20\"");
    EXPECT_FALSE(manager.done());
}

TEST(Manager, LeavesARequestOfAnotherTypeUnanswered) {
    kxemgr::Manager manager({}, NoFaults());
    const Handled handled = Handle(manager, 5, kxapp::MakeFrame(kPayload));
    EXPECT_EQ(handled.output, "");
    EXPECT_EQ(handled.errors, Line("request of type 5 from agt_ei is not understood"));
    EXPECT_EQ(handled.reply.delivery, Delivery::kNever);
}

TEST(Manager, IsDoneAfterTheWantedUploads) {
    kxemgr::Options options;
    options.count = 2;
    kxemgr::Manager manager(options, NoFaults());
    EXPECT_EQ(Handle(manager, 0, kxapp::MakeFrame(kPayload)).reply.delivery, Delivery::kNow);
    EXPECT_FALSE(manager.done());
    EXPECT_EQ(Handle(manager, 0, kxapp::MakeFrame(kPayload)).reply.delivery, Delivery::kNow);
    EXPECT_TRUE(manager.done());
    const Handled behind = Handle(manager, 0, kxapp::MakeFrame(kPayload));
    EXPECT_EQ(behind.output, "");
    EXPECT_EQ(behind.reply.delivery, Delivery::kNever);
}

TEST(Manager, AppliesAFaultForItsCount) {
    kxemgr::Manager manager({}, Plan("refuse:1"));
    EXPECT_EQ(Answer(Handle(manager, 0, kxapp::MakeFrame(kPayload)).reply).status(), 0U);
    EXPECT_EQ(Answer(Handle(manager, 0, kxapp::MakeFrame(kPayload)).reply).status(), 1U);
}

TEST(Manager, ABadFrameUsesUpNoFault) {
    kxemgr::Manager manager({}, Plan("silent:1"));
    EXPECT_EQ(Handle(manager, 0, "bad").reply.delivery, Delivery::kNow);
    EXPECT_EQ(Handle(manager, 0, kxapp::MakeFrame(kPayload)).reply.delivery, Delivery::kNever);
}
