// What holds after a call has failed.
#include <signal.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "faults.h"
#include "open_files.h"
#include "system_in.h"
#include "text.h"

namespace fs = std::filesystem;

namespace kxtest {
namespace {

std::string Address(int change) {
    return "10.77." + std::to_string(change / 250) + "." + std::to_string(change % 250 + 1);
}

std::string Mirror(int change) {
    return "[multi_ip]\ncounts=1\nip0=" + Address(change) + "\n";
}

}  // namespace

void FaultTest::ChangeConfiguration() {
    ++m_changes;
    installation().write("config/cfgc.ini", "[multi_ip]\nip0=" + Address(m_changes) + "\n");
}

std::string FaultTest::MirrorFile() const {
    return WithoutEmptyLines(installation().read("config/net_config.ini"));
}

// Without memory the module ends the process rather than leave a question without an answer, libuv
// does when it cannot note a descriptor, and the C library when a thread first uses a variable of
// its own in a library that was loaded later. When there is none at all the first cannot be logged;
// an exception that nobody caught would still be told.
bool FaultTest::LacksMemoryToGoOn(int status) const {
    const std::string_view where = m_control->where;
    const std::string errors = m_host->errors();
    const bool aborted = status == 128 + SIGABRT;
    return std::string_view(m_fault.function) == "malloc" &&
           (status == 1 || m_control->workers_made == 0 ||
            (aborted && where.starts_with(" libuv.so")) ||
            (aborted && m_fault.reach == Reach::kFromHere && errors.empty()) ||
            (aborted && installation().log().find("call xmsg_new failed.") != std::string::npos) ||
            errors.starts_with("cannot allocate memory for thread-local data: ABORT"));
}

// A host may end by itself only where it has to, or tells why.
void FaultTest::CheckEnd() const {
    const int status = m_host->wait();
    if (status != 0 && !(m_fault.reach == Reach::kHost && status == 128 + SIGABRT) &&
        !LacksMemoryToGoOn(status)) {
        EXPECT_EQ(status, 1);
        EXPECT_THAT(m_host->errors(), testing::StartsWith("kxehost: "));
    }
}

// Drawn or not, but whole.
void FaultTest::CheckId() const {
    const std::string id = installation().read("config/agent_id");
    if (fs::exists(installation().path("config/agent_id"))) {
        EXPECT_THAT(id, testing::MatchesRegex("[1-9][0-9]*\n"));
    }
}

void FaultTest::CheckMirror() const {
    EXPECT_THAT(MirrorFile(),
                testing::AnyOf(m_mirror_before, Mirror(m_changes - 1), Mirror(m_changes)));
}

void FaultTest::CheckCalmCycle() {
    ChangeConfiguration();
    EXPECT_TRUE(WaitUntil([&] { return MirrorFile() == Mirror(m_changes); }))
        << installation().log();
    const std::size_t uploads = UploadCount();
    Step();
    const Json upload = Upload(uploads);
    EXPECT_GT(Number(upload.get(), "epinfo.rc_info.mem_total"), 0);
    EXPECT_EQ(Ctl({"online"}).output, "online\n");
    for (; m_uploads_seen <= uploads; ++m_uploads_seen) {
        const std::string system = SystemIn(Upload(m_uploads_seen).get());
        m_system = system.empty() ? m_system : system;
    }
}

FaultTest::Calm FaultTest::LookAround() const {
    const fs::path process = fs::path("/proc") / std::to_string(m_host->pid());
    return {EntryCount(process / "fd"), EntryCount(process / "task"), m_system};
}

void FaultTest::CheckCalm() const {
    EXPECT_EQ(installation().read("config/agent_id"), m_agent_id);
    EXPECT_EQ(m_system, m_calm.system);
    EXPECT_TRUE(WaitUntil([&] { return LookAround().descriptors <= m_calm.descriptors; }))
        << "descriptors: " << LookAround().descriptors << " instead of " << m_calm.descriptors;
    EXPECT_EQ(LookAround().threads, m_calm.threads);
}

}  // namespace kxtest
