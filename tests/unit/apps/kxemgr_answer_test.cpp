#include "kxemgr/answer.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

#include "common/frame.h"

using bf_kxepinfo::epinfo;
using bf_kxepinfo::epinfo_msg_respone;
using kxapp::Delivery;
using kxemgr::Deliver;

namespace {

epinfo_msg_respone Accepted() {
    epinfo_msg_respone answer;
    answer.set_status(1);
    answer.set_cmd_type(6);
    return answer;
}

epinfo_msg_respone WithFault(const char* fault) {
    epinfo_msg_respone answer = Accepted();
    kxemgr::ApplyToMessage(fault, answer);
    return answer;
}

}  // namespace

TEST(ManagerAnswer, AcceptsWithTheCmdAndTheTimeDifference) {
    epinfo upload;
    upload.set_cmd(14);
    upload.set_agent_timestamp(1700000007);
    EXPECT_EQ(kxemgr::Accept(upload, 1700000000).ShortDebugString(),
              "status: 1 cmd_type: 14 time_diff: -7");
}

TEST(ManagerAnswer, SurvivesAnAbsurdAgentClock) {
    epinfo upload;
    upload.set_agent_timestamp(std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(kxemgr::Accept(upload, 9).time_diff(), 10);
}

TEST(ManagerAnswer, RefusesWithAReason) {
    EXPECT_EQ(kxemgr::Refuse("too short").ShortDebugString(), "res_msg: \"too short\"");
}

TEST(ManagerAnswer, WithoutAFaultIsAFrameAtOnce) {
    const kxapp::Reply reply = Deliver("", Accepted());
    EXPECT_EQ(reply.delivery, Delivery::kNow);
    EXPECT_EQ(reply.type, 0U);
    EXPECT_EQ(reply.data, kxapp::MakeFrame("\x08\x01\x10\x06"));
}

TEST(ManagerFault, RefuseSaysStatusZeroAndAReason) {
    EXPECT_EQ(WithFault("refuse").ShortDebugString(),
              "cmd_type: 6 res_msg: \"refused because of --fault refuse\"");
}

TEST(ManagerFault, DuplicateSetsTheField) {
    EXPECT_EQ(WithFault("duplicate").ShortDebugString(), "status: 1 cmd_type: 6 duplicate: 1");
}

TEST(ManagerFault, OthersLeaveTheMessageAlone) {
    for (const char* fault : {"", "silent", "slow", "garbage", "short", "type2", "long", "close"}) {
        EXPECT_EQ(WithFault(fault).ShortDebugString(), "status: 1 cmd_type: 6") << fault;
    }
}

TEST(ManagerFault, SilentNeverAnswers) {
    EXPECT_EQ(Deliver("silent", Accepted()).delivery, Delivery::kNever);
}

TEST(ManagerFault, SlowSendsTheRightAnswerLate) {
    const kxapp::Reply reply = Deliver("slow", Accepted());
    EXPECT_EQ(reply.delivery, Delivery::kLate);
    EXPECT_EQ(reply.data, kxapp::MakeFrame("\x08\x01\x10\x06"));
}

TEST(ManagerFault, SlowIsLaterThanTheModuleWaits) {
    EXPECT_GT(kxapp::kLateMs, 5000U);
}

TEST(ManagerFault, CloseEndsTheConversation) {
    EXPECT_EQ(Deliver("close", Accepted()).delivery, Delivery::kClose);
}

TEST(ManagerFault, GarbageIsOtherBytesEachTime) {
    std::set<std::string> seen;
    for (int i = 0; i < 10; ++i) {
        const kxapp::Reply reply = Deliver("garbage", Accepted());
        EXPECT_EQ(reply.delivery, Delivery::kNow);
        EXPECT_EQ(reply.data.size(), 64U);
        seen.insert(reply.data);
    }
    EXPECT_EQ(seen.size(), 10U);
}

TEST(ManagerFault, ShortIsOneByteLessThanAHeader) {
    EXPECT_EQ(Deliver("short", Accepted()).data,
              kxapp::MakeFrame("\x08\x01\x10\x06").substr(0, 19));
}

TEST(ManagerFault, Type2ChangesOnlyThePayloadType) {
    EXPECT_EQ(Deliver("type2", Accepted()).data, kxapp::MakeFrame("\x08\x01\x10\x06", 2, 4));
}

TEST(ManagerFault, LongAnnouncesMoreThanThereIs) {
    EXPECT_EQ(Deliver("long", Accepted()).data, kxapp::MakeFrame("\x08\x01\x10\x06", 1, 104));
}

TEST(ManagerFault, KindsAreThose) {
    std::string names;
    for (const kxapp::FaultKind& kind : kxemgr::FaultKinds()) {
        names += std::string(kind.name) + " ";
    }
    EXPECT_EQ(names, "refuse duplicate silent slow garbage short type2 long close ");
}
