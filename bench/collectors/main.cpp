// What each collector costs a call: processor time, of the processes that it starts as well, and
// system calls. Beside each the least that could bring the same facts: the same programs started,
// the same functions of the C library called, the same bytes read.
//
//   bench_collectors    from the bin directory of an installation
#include <fcntl.h>
#include <ifaddrs.h>
#include <unistd.h>
#include <utmp.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "autolog.h"
#include "child.h"
#include "collectors/agentres.h"
#include "collectors/extinfo.h"
#include "collectors/netinfo.h"
#include "collectors/sysinfo.h"
#include "collectors/userlog.h"
#include "commands.h"
#include "login_file.h"
#include "processor_time.h"
#include "report.h"
#include "system_calls.h"

namespace fs = std::filesystem;

namespace {

struct Collector {
    std::string name;
    std::function<void()> collect;
    std::string reference_name;
    std::function<void()> reference;
    int rounds;
    int calls;
};

void Require(bool collected, const char* what) {
    if (!collected) {
        kxbench::Fail(std::string("not collected: ") + what);
    }
}

// From that place, of a file that one call reads whole.
void ReadFile(const std::string& path, off_t from = 0) {
    char bytes[16384];
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    Require(descriptor >= 0 && pread(descriptor, bytes, sizeof bytes, from) > 0, path.c_str());
    (void)close(descriptor);
}

Collector Resources() {
    return {.name = "resource usage",
            .collect =
                [] {
                    _stResmon record;
                    Require(GetAgentResoureInfo(record) == 0 && record.mem_total > 0, "resources");
                },
            .reference_name = "reading the three files",
            .reference =
                [] {
                    ReadFile("/proc/stat");
                    (void)sleep(1);
                    ReadFile("/proc/stat");
                    ReadFile("/proc/meminfo");
                },
            .rounds = 5,
            .calls = 1};
}

Collector System(const std::string& programs) {
    return {.name = "system",
            .collect =
                [] {
                    _stSysInfo record;
                    Require(GetSysInfo(record) == 0 && !record.sys_distro.empty(), "system");
                },
            .reference_name = "popen of the two commands",
            .reference = [programs] { kxbench::RunSystemCommands(programs); },
            .rounds = 11,
            .calls = 20};
}

Collector Adapters() {
    return {.name = "adapters",
            .collect =
                [] {
                    std::vector<_stAdapterInfo> adapters;
                    Require(GetNetInfo(adapters) == 0, "adapters");
                },
            .reference_name = "getifaddrs and freeifaddrs",
            .reference =
                [] {
                    ifaddrs* first = nullptr;
                    Require(getifaddrs(&first) == 0, "getifaddrs");
                    freeifaddrs(first);
                },
            .rounds = 11,
            .calls = 500};
}

Collector Versions(const std::string& settings) {
    return {.name = "versions",
            .collect =
                [] {
                    _stExtInfo record;
                    Require(GetExtInfo(record) == 0 && !record.agent_version.empty(), "versions");
                },
            .reference_name = "reading the two files",
            .reference =
                [settings] {
                    ReadFile(settings + "/server.ini");
                    ReadFile(settings + "/agent_cfg.json");
                },
            .rounds = 11,
            .calls = 500};
}

Collector Login(const std::string& file) {
    const auto size = static_cast<off_t>(fs::file_size(file));
    return {.name = "last login of 1000",
            .collect =
                [] {
                    _stUsrLogInfo record;
                    Require(GetLogUsrInfo(record) == 0, "the last login");
                },
            .reference_name = "reading the last record",
            .reference = [file, size] { ReadFile(file, size - off_t{sizeof(utmp)}); },
            .rounds = 11,
            .calls = 500};
}

void Measure(const Collector& collector) {
    const kxbench::Compared time = kxbench::CompareProcessorTime(
        collector.collect, collector.reference, collector.rounds, collector.calls);
    const int counted = collector.calls > 1 ? 10 : 1;
    const kxbench::SystemCalls calls = kxbench::CountSystemCalls(collector.collect, counted);
    const kxbench::SystemCalls reference = kxbench::CountSystemCalls(collector.reference, counted);
    const std::string name = "collector, " + collector.name + ": ";
    kxbench::Report(name + "processor time", time.work, "us", collector.reference_name,
                    time.reference);
    kxbench::Report(name + "system calls", calls.own, "calls", collector.reference_name,
                    reference.own);
    if (calls.children > 0) {
        kxbench::Report(name + "system calls of its children", calls.of_children, "calls",
                        collector.reference_name, reference.of_children);
        kxbench::Report(name + "child processes", calls.children, "processes",
                        collector.reference_name, reference.children);
    }
}

}  // namespace

int main() {
    const fs::path programs = fs::path(kxbench::OwnProgram()).parent_path();
    const fs::path root = programs.parent_path();
    const std::string logins = root / "var/wtmp";
    LayDownLogins(logins);
    // What is logged goes where the module's lines go, and so costs the same.
    if (autolog_init((root / "var/log").c_str(), 5) != 0) {
        kxbench::Fail("cannot open a log");
    }
    Measure(Resources());
    Measure(System(programs));
    Measure(Adapters());
    Measure(Versions(root / "config"));
    Measure(Login(logins));
    return EXIT_SUCCESS;
}
