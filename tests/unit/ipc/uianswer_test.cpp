#include <algorithm>
#include <csignal>
#include <iostream>

#include "common/state.h"
#include "ipc_fixture.h"
#include "short_memory.h"

using kxtest::Agent;
using kxtest::LoggedLines;
using kxtest::LoggedLinesUpTo;
using kxtest::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class AnswerToUi : public kxtest::IpcTest {
  protected:
    void Ask() { endpoint.IpcSendMsgtoUi(bus.Instance(), bus.Peer(), 4711, nullptr, nullptr); }

    kxtest::SentAnswer Answer(const char* state) {
        return {bus.Instance(), bus.Peer(), 4711, 1008,
                kxtest::Packed("agt_ei", {{"online_state", state}})};
    }

    CEpInfoIpc endpoint;
};

using AnswerToUiDeathTest = AnswerToUi;

}  // namespace

// In front of the C library's, by the linker's --wrap: shows what was logged when a process ends
// itself. Visible, since the linker counts the calls of AddressSanitizer's library as well.
#pragma GCC visibility push(default)
extern "C" {

[[noreturn]] void __real_abort();
[[noreturn]] void __wrap_abort();

void __wrap_abort() {
    for (const LogLine& line : LoggedLines()) {
        std::cerr << line;
    }
    __real_abort();
}

}  // extern "C"
#pragma GCC visibility pop

TEST_F(AnswerToUi, SaysOnline) {
    Ask();
    EXPECT_THAT(bus.answers, ElementsAre(Answer("1")));
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{4, "epinfoipc", "Send Msg to Ui 1"},
                                           LogLine{4, "epinfoipc", "agent onlinestate is 1"}));
}

TEST_F(AnswerToUi, SaysOffline) {
    g_preOnlineState = 0;
    Ask();
    EXPECT_THAT(bus.answers, ElementsAre(Answer("0")));
}

TEST_F(AnswerToUi, AnyStateButOneIsOffline) {
    g_preOnlineState = 2;
    Ask();
    EXPECT_THAT(bus.answers, ElementsAre(Answer("0")));
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{4, "epinfoipc", "Send Msg to Ui 2"},
                                           LogLine{4, "epinfoipc", "agent onlinestate is 2"}));
}

TEST_F(AnswerToUi, NeedsNoStartedEndpointSinceItAnswersWhereItWasAsked) {
    Ask();
    EXPECT_THAT(bus.answers, ElementsAre(Answer("1")));
    EXPECT_THAT(bus.calls, IsEmpty());
}

TEST_F(AnswerToUi, ReleasesItsMessage) {
    const kxtest::LiveMessages messages;
    Ask();
    EXPECT_EQ(bus.answers.size(), 1U);
    EXPECT_EQ(messages.Count(), 0);
}

TEST_F(AnswerToUi, IsNotGivenWhenTheStateCannotBeAdded) {
    const kxtest::LiveMessages messages;
    Agent().xmsg_add = [](xmsg*, const char*, uint16_t, const char*, uint32_t) { return 12; };
    Ask();
    EXPECT_THAT(bus.answers, IsEmpty());
    EXPECT_THAT(LoggedLinesUpTo(3), ElementsAre(LogLine{2, "epinfoipc", "xmsg to fail to add."}));
    EXPECT_EQ(messages.Count(), 0);
}

TEST_F(AnswerToUi, IsNotGivenWithoutMemory) {
    const kxtest::LiveMessages messages;
    {
        const kxtest::ShortMemory short_memory;
        Ask();
    }
    EXPECT_THAT(bus.answers, IsEmpty());
    EXPECT_THAT(LoggedLinesUpTo(3),
                ElementsAre(LogLine{2, "epinfoipc", "Failed to malloc memory for pack xmsg\n"}));
    EXPECT_EQ(messages.Count(), 0);
}

TEST_F(AnswerToUi, IsSilentlyNotGivenWhenPackingFails) {
    const kxtest::LiveMessages messages;
    Agent().xmsg_pack = [](const xmsg*, char*, uint32_t) { return -1; };
    Ask();
    EXPECT_THAT(bus.answers, IsEmpty());
    EXPECT_THAT(LoggedLinesUpTo(3), IsEmpty());
    EXPECT_EQ(messages.Count(), 0);
}

// Only a negative result counts as a failure here; the size sent is the one asked for.
TEST_F(AnswerToUi, IsGivenWhenPackingSaysItWroteNothing) {
    Agent().xmsg_pack_size = [](const xmsg*) { return 3U; };
    Agent().xmsg_pack = [](const xmsg*, char*, uint32_t) { return 0; };
    Ask();
    ASSERT_EQ(bus.answers.size(), 1U);
    EXPECT_EQ(bus.answers.front().data, std::string(3, '\0'));
}

TEST_F(AnswerToUi, PackingMayFillTheSizeItAskedFor) {
    Agent().xmsg_pack_size = [](const xmsg*) { return 3U; };
    Agent().xmsg_pack = [](const xmsg*, char* buffer, uint32_t size) {
        std::fill_n(buffer, size, 'p');
        return static_cast<int>(size);
    };
    Ask();
    ASSERT_EQ(bus.answers.size(), 1U);
    EXPECT_EQ(bus.answers.front().data, "ppp");
}

TEST_F(AnswerToUi, IsTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(0);
    Ask();
    EXPECT_THAT(bus.answers, ElementsAre(Answer("1")));
    EXPECT_EQ(kxtest::LogCalls(), 0);
}

// The abort is the product's decision, logged as critical just before.
TEST_F(AnswerToUiDeathTest, AbortsTheProcessWithoutAMessage) {
    Agent().xmsg_new = [](const char*) { return nullptr; };
    EXPECT_EXIT(Ask(), testing::KilledBySignal(SIGABRT),
                "^\\{1, epinfoipc, \"call xmsg_new failed\\.\"\\}$");
}
