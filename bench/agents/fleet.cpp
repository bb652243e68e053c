#include "fleet.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "cycle_report.h"
#include "report.h"

namespace fs = std::filesystem;

namespace {

constexpr int kBusTries = 6000;
constexpr useconds_t kBusPause = 10000;

// Of files that nobody writes to hard links; settings are replaced by whoever changes them.
void MakeInstallation(const fs::path& from, const fs::path& to) {
    for (const char* folder : {"bin", "lib", "config"}) {
        fs::create_directories(to / folder);
        fs::copy(from / folder, to / folder,
                 fs::copy_options::recursive | fs::copy_options::create_hard_links);
    }
}

void WaitForManager(const fs::path& installation) {
    for (int i = 0; i < kBusTries; ++i) {
        if (fs::exists(installation / "var/run/ipc/mgr_ei.sock")) {
            return;
        }
        (void)usleep(kBusPause);
    }
    kxbench::Fail("a manager is not on its bus");
}

}  // namespace

Fleet::Fleet(int agents, double spread_seconds, const kxbench::Lines& lines)
    : root_(kxbench::OwnInstallation() + ".fleet") {
    fs::remove_all(root_);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const auto installation = [this](int agent) { return root_ + "/" + std::to_string(agent); };
    for (int agent = 0; agent < agents; ++agent) {
        MakeInstallation(kxbench::OwnInstallation(), installation(agent));
        managers_.push_back(std::make_unique<kxbench::Child>(installation(agent) + "/bin/kxemgr",
                                                             std::vector<std::string>{},
                                                             std::vector<std::string>{}, nowhere));
    }
    for (int agent = 0; agent < agents; ++agent) {
        WaitForManager(installation(agent));
    }
    for (int agent = 0; agent < agents; ++agent) {
        hosts_.push_back(std::make_unique<kxbench::Child>(
            installation(agent) + "/bin/kxehost", std::vector<std::string>{},
            kxbench::MeteredHost(installation(agent), lines, 0), nowhere));
        (void)usleep(static_cast<useconds_t>(spread_seconds * 1e6 / agents));
    }
    (void)close(nowhere);
}

Fleet::~Fleet() {
    // All at once, before each is waited for.
    for (const pid_t host : hosts()) {
        (void)kill(host, SIGTERM);
    }
    hosts_.clear();
    managers_.clear();
    fs::remove_all(root_);
}

std::vector<pid_t> Fleet::hosts() const {
    std::vector<pid_t> processes;
    for (const auto& host : hosts_) {
        processes.push_back(host->pid());
    }
    return processes;
}
