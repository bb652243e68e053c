#include "agent.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "report.h"

namespace fs = std::filesystem;

namespace kxbench {
namespace {

constexpr int kMostUnsettled = 10;
constexpr int kMostUnexpected = 20;
constexpr int kSlowestMs = 20000;  // beyond what it should take
constexpr int kBusTries = 1000;
constexpr useconds_t kBusPause = 10000;

// "cmd" of an upload.
constexpr unsigned long kResources = 2;
constexpr unsigned long kResourcesAndAgentFacts = 6;

// At once, so that no half of it is read.
void Write(const fs::path& path, const std::string& text) {
    const fs::path fresh = path.string() + ".new";
    std::ofstream file(fresh, std::ios::trunc);
    if (!(file << text).flush()) {
        Fail("cannot write " + fresh.string());
    }
    fs::rename(fresh, path);
}

void WaitForManager(const fs::path& socket) {
    for (int i = 0; i < kBusTries; ++i) {
        if (fs::exists(socket)) {
            return;
        }
        (void)usleep(kBusPause);
    }
    Fail("the manager is not on the bus");
}

}  // namespace

Agent::Agent(const std::string& installation, int interval,
             const std::vector<std::string>& environment)
    : installation_(installation), interval_(interval) {
    const fs::path socket = installation + "/var/run/ipc/mgr_ei.sock";
    (void)fs::remove(socket);
    Write(installation + "/config/kxepinfocfg.ini",
          "[flushgap]\nvalue=" + std::to_string(interval) + "\n");
    WriteVersions();
    manager_.emplace(installation + "/bin/kxemgr", std::vector<std::string>{"--json"},
                     std::vector<std::string>{}, uploads_.WritingEnd());
    WaitForManager(socket);
    host_.emplace(installation + "/bin/kxehost", std::vector<std::string>{}, environment);
}

void Agent::Settle() {
    for (int i = 0; NextUpload() != Content::kNothingElse; ++i) {
        if (i == kMostUnsettled) {
            Fail("all uploads carry more than resource usage");
        }
    }
}

// With all versions, as an agent that is in order has them: those that are missing are told in the
// log of every cycle.
void Agent::WriteVersions() {
    ++version_;
    Write(installation_ + "/config/agent_cfg.json",
          R"({"version": {"components": "3.2.10.)" + std::to_string(version_) +
              R"(", "virusdbs": "20190220222616", "patchdbs": "20190227112530", )" +
              R"("ioadbs": "1", "iocdbs": "1.0"}})" + "\n");
}

void Agent::Prepare(Content content) {
    if (content == Content::kAgentFacts) {
        WriteVersions();
    }
}

bool Agent::IsNextUpload(Content expected) {
    const bool is_expected = NextUpload() == expected;
    unexpected_ += is_expected ? 0 : 1;
    if (unexpected_ > kMostUnexpected) {
        Fail("too many uploads carry something else than they should");
    }
    return is_expected;
}

Content Agent::NextUpload() {
    constexpr char kCmd[] = "\"cmd\": ";
    const std::string line = uploads_.Next(2000 * interval_ + kSlowestMs);
    ++count_;
    const std::size_t found = line.find(kCmd);
    const unsigned long cmd =
        found == line.npos ? 0 : std::strtoul(line.c_str() + found + sizeof kCmd - 1, nullptr, 10);
    if (cmd == kResources) {
        return Content::kNothingElse;
    }
    if (cmd == kResourcesAndAgentFacts) {
        return Content::kAgentFacts;
    }
    return Content::kOther;
}

}  // namespace kxbench
