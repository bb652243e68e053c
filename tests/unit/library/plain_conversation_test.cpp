// The module's other conversations, over the plain bus and with the plain key/value messages: the
// configuration centre, the status source, the tracing SDK.
#include <gmock/gmock.h>

#include <algorithm>

#include "plain_agent/journal.h"
#include "plain_agent/loop.h"
#include "plain_agent/message.h"
#include "plain_agent/trace_events.h"
#include "plain_agent/watch.h"
#include "plain_agent_fixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using Entries = std::map<std::string_view, std::string_view>;

namespace {

constexpr unsigned kConfigurationChanged = 1002;
constexpr unsigned kStatusHeartbeat = 101;

std::string NetConfig() {
    return kxtest::ReadFile(kxtest::InstallationRoot() / "config/net_config.ini");
}

// What was called between the making of a lock and its end.
std::vector<std::string> CallsAroundTheLock() {
    const std::vector<std::string> calls = plain::Calls();
    const auto begin = std::find(calls.begin(), calls.end(), "kxe_glock_init");
    const auto end = std::find(begin, calls.end(), "kxe_glock_destroy");
    return {begin, end};
}

}  // namespace

using PlainConversation = PlainAgent;

TEST_F(PlainConversation, TheConfigurationCentreIsAskedForTheGlobalSection) {
    Start();
    Stop();
    ASSERT_THAT(plain::RequestsTo("agt_cfgc"), SizeIs(1));
    const plain::Request request = plain::RequestsTo("agt_cfgc")[0];
    EXPECT_EQ(request.type, 1004U);
    EXPECT_EQ(plain::Unpack(request.data), (Entries{{"module", "global"}}));
}

TEST_F(PlainConversation, ItsAnswerIsWrittenUnderTheLock) {
    plain::AnswerRequestsTo("agt_cfgc", TwoAddresses());
    kxtest::WriteFile("config/net_config.ini", "[multi_ip]\nip7=old\n[other]\nkey=kept\n");
    Start();
    Stop();
    EXPECT_EQ(NetConfig(), "[multi_ip]\ncounts=2\nip0=10.0.0.1\nip1=10.0.0.2\n[other]\nkey=kept\n");
    EXPECT_THAT(CallsAroundTheLock(),
                ElementsAre("kxe_glock_init", "kxe_glock_acquire_timeout", "ini_file_load",
                            "str_snprintf", "ini_file_del", "ini_file_set", "ini_file_set",
                            "ini_file_set", "ini_file_save", "kxe_glock_release"));
}

TEST_F(PlainConversation, AnAnswerWhoseListClaimsMoreThanThereIsIsRefused) {
    std::string list = plain::Pack({{"ip0", "10.0.0.1"}});
    list[5] = '\x40';  // the low byte of its length: more than it has, less than the outer one has
    plain::Answer answer = TwoAddresses();
    answer.data =
        plain::Pack({{"count", "1"}, {"multi_ip", list}, {"other", std::string(200, 'x')}});
    plain::AnswerRequestsTo("agt_cfgc", answer);
    Start();
    Stop();
    EXPECT_EQ(NetConfig(), "");
    EXPECT_THAT(plain::Journal(), Contains("2 cfgparser: xmsg_unpack pXmsgIpData failed"));
}

TEST_F(PlainConversation, ANotificationLetsItAskAgain) {
    Start();
    plain::Notify(kConfigurationChanged, plain::Pack({{"global", "1"}}));
    plain::WaitUntilIdle();
    EXPECT_THAT(plain::RequestsTo("agt_cfgc"), SizeIs(2));
    Stop();
}

TEST_F(PlainConversation, ANotificationThatIsNoMessageChangesNothing) {
    Start();
    plain::Notify(kConfigurationChanged, "PLAIN");
    plain::WaitUntilIdle();
    EXPECT_THAT(plain::RequestsTo("agt_cfgc"), SizeIs(1));
    EXPECT_THAT(plain::Journal(), Contains("2 cfgparser: xmsg_unpack failed"));
    Stop();
}

TEST_F(PlainConversation, AHeartbeatSetsItOnlineWithoutAnAnswer) {
    Start();
    for (int failures = 1; failures < 5; ++failures) {
        RunCycle();
    }
    ASSERT_EQ(OnlineState(), "0");
    const std::size_t responses = plain::Responses().size();
    (void)plain::Ask(kStatusHeartbeat, plain::Pack({{"status", "1"}}));
    plain::WaitUntilIdle();
    EXPECT_THAT(plain::Responses(), SizeIs(responses));
    EXPECT_EQ(OnlineState(), "1");
    Stop();
}

TEST_F(PlainConversation, ANewIpv4AddressGoesToTheSdk) {
    if (!HasIpv4Address()) {
        GTEST_SKIP() << "no IPv4 address but that of the loop-back interface";
    }
    Start();
    RunCycleWithAddressRecord();
    RunCycle();
    Stop();
    ASSERT_THAT(plain::TraceEvents(), SizeIs(1));  // it is new once
    const plain::TraceEvent event = plain::TraceEvents()[0];
    EXPECT_EQ(event.module, "kxepinfo");
    EXPECT_EQ(event.event, "NewIPBPTrace");
    EXPECT_EQ(event.product, "EDR");
    EXPECT_EQ(event.version, "1.2.3");
    EXPECT_EQ(event.host_id, "4711");
    EXPECT_THAT(event.text, HasSubstr("601"));
    EXPECT_THAT(kxtest::ReadFile(kxtest::InstallationRoot() / "config/server_port.ini"),
                HasSubstr("[netinfo]\nipv4="));
}
