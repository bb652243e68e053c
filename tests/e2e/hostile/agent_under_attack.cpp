#include "agent_under_attack.h"

#include <signal.h>

#include <algorithm>

#include "system_in.h"
#include "text.h"

namespace kxtest {

namespace {

// What a C library keeps of memory that was given back to it.
constexpr std::size_t kMostKeptKib = 8 * 1024 + kSanitizersKib;

// What has not changed is not told again.
void Keep(std::string news, std::string& last) {
    if (!news.empty()) {
        last = std::move(news);
    }
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const AgentUnderAttack::Told& told) {
    return out << told.system << told.login << told.memory << " KiB";
}

void AgentUnderAttack::StartAgent() {
    StartManager();
    m_centre = &StartCentre();
    StartHostAgain();
    Step();
    CheckConversations();
    m_told_at_first = m_told;
    m_held_at_first = Holdings();
}

void AgentUnderAttack::StartHostAgain() {
    std::filesystem::remove(installation().path("step"));  // which nobody has taken
    m_host = &StartSteppedHost();
    AwaitUploads(1);
}

void AgentUnderAttack::StopHost() {
    EXPECT_EQ(m_host->stop(), 0) << m_host->errors();
}

void AgentUnderAttack::RestartHost() {
    StopHost();
    StartHostAgain();
}

void AgentUnderAttack::RestartModule() {
    m_host->signal(SIGHUP);
    AwaitUploads(1);
}

void AgentUnderAttack::Step() {
    StepToNextCycle();
    AwaitUploads(1);
}

void AgentUnderAttack::AwaitUploads(std::size_t count) {
    for (; count > 0; --count) {
        const Json upload = Upload(m_uploads);
        ASSERT_NE(upload, nullptr) << "no upload comes:\n" << installation().log();
        ++m_uploads;
        m_told.memory = Number(upload.get(), "epinfo.rc_info.mem_total");
        Keep(SystemIn(upload.get()), m_told.system);
        Keep(WhatIsSentAgain(Member(upload.get(), "epinfo.login_info")), m_told.login);
    }
}

void AgentUnderAttack::CheckConversations() {
    const std::string address = "10.77.0." + std::to_string(++m_changes);
    installation().write("config/cfgc.ini", "[multi_ip]\nip0=" + address + "\n");
    const std::string mirror = "[multi_ip]\ncounts=1\nip0=" + address + "\n";
    EXPECT_TRUE(WaitUntil([&] {
        return WithoutEmptyLines(installation().read("config/net_config.ini")) == mirror;
    })) << installation().log();
    EXPECT_EQ(Ctl({"online"}).output, "online\n");
}

void AgentUnderAttack::CheckCalm() {
    CheckConversations();
    AwaitUploads(UploadCount() - m_uploads);  // of a cycle that was cut off, perhaps
    Step();
    EXPECT_EQ(m_told, m_told_at_first);
    CheckHoldings();
}

std::vector<Held> AgentUnderAttack::Holdings() {
    std::vector<Held> holdings;
    for (const Program* const program : Programs()) {
        holdings.push_back(HeldBy(program->pid()));
    }
    return holdings;
}

void AgentUnderAttack::CheckHoldings() {
    const auto is_calm = [](const Held& now, const Held& at_first) {
        return now.descriptors <= at_first.descriptors && now.threads == at_first.threads &&
               now.resident_kib <= at_first.resident_kib + kMostKeptKib;
    };
    EXPECT_TRUE(WaitUntil([&] {
        const std::vector<Held> now = Holdings();
        return std::equal(now.begin(), now.end(), m_held_at_first.begin(), is_calm);
    })) << testing::PrintToString(Holdings())
        << " instead of " << testing::PrintToString(m_held_at_first);
}

}  // namespace kxtest
