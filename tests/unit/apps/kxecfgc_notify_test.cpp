#include <gtest/gtest.h>

#include "bus_ends.h"
#include "common/keyvalue.h"
#include "installation.h"
#include "kxecfgc/answer.h"
#include "kxecfgc/centre.h"

namespace {

struct Heard {
    int calls = 0;
    unsigned type = 0;
    std::string from;
    std::string data;
};

void Hear(nox_ipc_st*, const nox_addr_st* from, unsigned type, const char* data, unsigned len,
          void* user) {
    Heard& heard = *static_cast<Heard*>(user);
    ++heard.calls;
    heard.type = type;
    heard.from = nox_addr_name(from);
    heard.data.assign(data, len);
}

class CentreNotify : public kxtest::InstallationTest {};

}  // namespace

TEST_F(CentreNotify, TellsTheAgentThatTheGlobalSectionChanged) {
    const kxapp::Bus agent = kxapp::JoinBus("agt_ei");
    const kxapp::Bus bus = kxapp::JoinBus("agt_cfgc");
    Heard heard;
    ASSERT_EQ(nox_ipc_msg_recv(agent.get(), Hear, &heard), 0);
    const kxecfgc::Centre centre({}, kxapp::FaultPlan(kxecfgc::FaultKinds()));
    centre.notify(bus.get());
    ASSERT_TRUE(kxtest::RunUntil([&] { return heard.calls > 0; }));
    EXPECT_EQ(heard.type, 1002U);
    EXPECT_EQ(heard.from, "agt_cfgc");
    EXPECT_TRUE(kxapp::FindInMessage(heard.data, "global").value.has_value());
}

TEST_F(CentreNotify, IsQuietWhenNoAgentIsThere) {
    const kxapp::Bus bus = kxapp::JoinBus("agt_cfgc");
    const kxecfgc::Centre centre({}, kxapp::FaultPlan(kxecfgc::FaultKinds()));
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    centre.notify(bus.get());
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(CentreNotify, SaysThatNoAgentIsThereWhenVerbose) {
    const kxapp::Bus bus = kxapp::JoinBus("agt_cfgc");
    kxecfgc::Options options;
    options.verbose = true;
    const kxecfgc::Centre centre(options, kxapp::FaultPlan(kxecfgc::FaultKinds()));
    ::testing::internal::CaptureStdout();
    centre.notify(bus.get());
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "change notification not sent: Connection refused\n");
}
