#include "agent_under_attack.h"

#include <signal.h>

#include "system_in.h"
#include "text.h"

namespace kxtest {

namespace {

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
    StartHostInSteps();
    AwaitUploads(1);
    Step();
    CheckConversations();
    m_told_at_first = m_told;
    m_held_at_first = HeldBy(m_host->pid());
}

void AgentUnderAttack::StartHostInSteps() {
    m_host = &StartSteppedHost();
}

void AgentUnderAttack::StopHost() {
    EXPECT_EQ(m_host->stop(), 0) << m_host->errors();
}

void AgentUnderAttack::RestartHost() {
    StopHost();
    StartHostInSteps();
    AwaitUploads(1);
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
    Step();
    EXPECT_EQ(m_told, m_told_at_first);
    EXPECT_TRUE(WaitUntil([&] {
        return HeldBy(m_host->pid()).descriptors <= m_held_at_first.descriptors;
    })) << HeldBy(m_host->pid()).descriptors
        << " descriptors instead of " << m_held_at_first.descriptors;
    EXPECT_EQ(HeldBy(m_host->pid()).threads, m_held_at_first.threads);
}

}  // namespace kxtest
