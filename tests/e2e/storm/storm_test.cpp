// The module in a host that has threads, an event loop, signal handlers and timers of its own, and
// that starts and stops it anywhere: whatever is the host's stays as it was.
#include <algorithm>

#include "quiet_machine.h"

namespace kxtest {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

// Sanitizers make a round many times slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kStormRounds = 200;
constexpr int kFewRounds = 20;
constexpr bool kMemoryTells = false;
#else
constexpr int kStormRounds = 1000;
constexpr int kFewRounds = 40;
constexpr bool kMemoryTells = true;
#endif
constexpr int kSeed = 20260314;
constexpr int kReloadEvery = 10;  // the host's

class Storms {
  public:
    explicit Storms(const AgentInstallation& installation) : m_installation(installation) {
        m_installation.set_log_level(3);
        std::filesystem::create_hard_link(KX_STORM_HOST, m_installation.program("storm_host"));
    }

    Finished Blow(int rounds, const std::string& phase, const std::string& subject,
                  const std::string& module) const {
        Program host(m_installation.program("storm_host"),
                     {module, std::to_string(rounds), std::to_string(kSeed), phase, subject});
        const int status = host.wait(std::chrono::minutes(4));
        return {status, host.output(), host.errors()};
    }
    Finished Blow(int rounds, const std::string& phase, const std::string& subject) const {
        return Blow(rounds, phase, subject, m_installation.path("lib/libkxepinfo.so"));
    }

  private:
    const AgentInstallation& m_installation;
};

class Storm : public AgentTest {
  protected:
    const Storms storms{installation()};
};

class Subject : public Storm, public testing::WithParamInterface<const char*> {};

class StopIn : public Storm, public testing::WithParamInterface<const char*> {};

std::string NameOfParameter(const testing::TestParamInfo<const char*>& tested) {
    std::string name = tested.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

}  // namespace

TEST_P(Subject, IsLeftAlone) {
    const Finished host = storms.Blow(kFewRounds, "all", GetParam());
    EXPECT_EQ(host.status, 0) << host.output;
    EXPECT_EQ(host.errors, "");
}

// A host that cannot tell a bad module proves nothing.
TEST_P(Subject, IsSeenToBeTouched) {
    const Finished host = storms.Blow(kReloadEvery, "at-once", GetParam(), KX_BAD_MODULE);
    EXPECT_EQ(host.status, 1) << host.output;
    EXPECT_THAT(host.output, HasSubstr(std::string(": ") + GetParam() + ": "));
}

INSTANTIATE_TEST_SUITE_P(OfTheHost, Subject,
                         testing::Values("dispositions", "masks", "locale", "environment", "umask",
                                         "directory", "timers", "streams", "limits", "process",
                                         "life", "descriptors", "threads", "unloading"),
                         NameOfParameter);

// Reckoned from the hundredth round to the last, like the two subjects before.
TEST_F(Storm, MemoryIsSeenToGrow) {
    if (!kMemoryTells) {
        GTEST_SKIP() << "the sanitizer keeps what is freed";
    }
    const Finished host = storms.Blow(kReloadEvery, "at-once", "memory", KX_BAD_MODULE);
    EXPECT_EQ(host.status, 1) << host.output;
    EXPECT_THAT(host.output, HasSubstr(": memory: "));
}

TEST_P(StopIn, EndsAndLeavesNothing) {
    const Finished host = storms.Blow(kFewRounds, GetParam(), "all");
    EXPECT_EQ(host.status, 0) << host.output;
    EXPECT_EQ(host.errors, "");
}

INSTANTIATE_TEST_SUITE_P(ThePhase, StopIn,
                         testing::Values("at-once", "sampling", "system", "adapters", "command",
                                         "armed", "timer"),
                         NameOfParameter);

TEST_F(Storm, OfManyRoundsLeavesTheHostAsItWas) {
    StartManager();
    StartCentre();
    const Finished host = storms.Blow(kStormRounds, "all", "all");
    EXPECT_EQ(host.status, 0) << host.output;
    EXPECT_EQ(host.errors, "");
    for (const char* const phase :
         {"at-once", "sampling", "system", "adapters", "command", "armed", "timer"}) {
        EXPECT_THAT(host.output, ContainsRegex(std::string(" ") + phase + " [1-9]"));
    }
    EXPECT_GT(UploadCount(), 0U);
    RecordProperty("host", host.output);
}

TEST_F(Storm, WithoutAnAddressToTellOfNoLibraryStays) {
    if (!EnterOwnNetwork()) {
        GTEST_SKIP() << "namespaces need root";
    }
    const Finished host = storms.Blow(kFewRounds, "all", "all");
    EXPECT_EQ(host.status, 0) << host.output;
    EXPECT_THAT(host.output, HasSubstr("\nstaying after the last unloading:\n"));
}

using StormOnQuietMachine = QuietMachineTest;  // has addresses to tell of

// The SDK may have begun something that runs on: it stays, with the bus library, which was asked
// for the agent's id, and what that stands on. The module itself goes all the same.
TEST_F(StormOnQuietMachine, AfterATracingEventTheSdkAndTheBusLibraryStay) {
    const Finished host = Storms(installation()).Blow(kReloadEvery, "armed", "all");
    EXPECT_EQ(host.status, 0) << host.output;
    EXPECT_THAT(host.output, HasSubstr("\nstaying after the last unloading: libautolog.so "
                                       "libcl_ev.so libkxe_bpsdk.so libkxebase.so libnoxipc.so\n"));
}

TEST_F(StormOnQuietMachine, WithoutTheSdkTheBusLibraryStays) {
    std::filesystem::remove(installation().path("lib/libkxe_bpsdk.so"));
    const Finished host = Storms(installation()).Blow(kReloadEvery, "armed", "all");
    EXPECT_EQ(host.status, 0) << host.output;
    EXPECT_THAT(host.output, HasSubstr("\nstaying after the last unloading: libautolog.so "
                                       "libcl_ev.so libkxebase.so libnoxipc.so\n"));
}

}  // namespace kxtest
