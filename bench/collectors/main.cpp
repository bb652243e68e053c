// What each collector costs a call: processor time, of the processes that it starts as well, and
// system calls. Beside each the least that could bring the same facts: the same programs started,
// the same functions of the C library called, the same bytes read. The second in which processor
// load is sampled takes no time here.
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

using SystemCallList = std::vector<kxbench::SystemCalls>;

constexpr int kRounds = 11;

struct Collector {
    std::string name;
    std::function<void()> collect;
    std::string reference_name;
    std::function<void()> reference;
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
                    ReadFile("/proc/stat");
                    ReadFile("/proc/meminfo");
                },
            .calls = 200};
}

Collector System(const std::string& programs) {
    return {
        .name = "system",
        .collect =
            [] {
                _stSysInfo record;
                Require(GetSysInfo(record) == 0 && !record.sys_distro.empty(), "system");
            },
        .reference_name = "popen of the two commands",
        .reference = [programs] { Require(kxbench::RunSystemCommands(programs), "the commands"); },
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
            .calls = 500};
}

std::vector<double> Values(const SystemCallList& calls, double kxbench::SystemCalls::*count) {
    std::vector<double> values;
    for (const kxbench::SystemCalls& call : calls) {
        values.push_back(call.*count);
    }
    return values;
}

void Measure(const Collector& collector) {
    const kxbench::Compared time = kxbench::CompareProcessorTime(
        collector.collect, collector.reference, kRounds, collector.calls);
    kxbench::Report({.name = collector.name + ": processor time",
                     .unit = "us",
                     .samples = time.work,
                     .floor = collector.reference_name,
                     .floor_samples = time.reference});
    const SystemCallList calls = kxbench::CountSystemCalls(collector.collect, kRounds);
    const SystemCallList reference = kxbench::CountSystemCalls(collector.reference, kRounds);
    const auto report = [&](const char* what, const char* unit,
                            double kxbench::SystemCalls::*count) {
        kxbench::Report({.name = collector.name + ": " + what,
                         .unit = unit,
                         .samples = Values(calls, count),
                         .floor = collector.reference_name,
                         .floor_samples = Values(reference, count)});
    };
    report("system calls", "calls", &kxbench::SystemCalls::own);
    if (calls.front().children > 0) {
        report("system calls of its children", "calls", &kxbench::SystemCalls::of_children);
        report("child processes", "processes", &kxbench::SystemCalls::children);
    }
}

}  // namespace

// In front of the C library's.
unsigned sleep(unsigned /*seconds*/) {
    return 0;
}

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("collectors", argc, argv);
    const fs::path root = kxbench::OwnInstallation();
    const std::string logins = root / "var/wtmp";
    LayDownLogins(logins);
    // What is logged goes where the module's lines go, and so costs the same.
    if (autolog_init((root / "var/log").c_str(), 5) != 0) {
        kxbench::Fail("cannot open a log");
    }
    Measure(Resources());
    Measure(System(root / "bin"));
    Measure(Adapters());
    Measure(Versions(root / "config"));
    Measure(Login(logins));
    return EXIT_SUCCESS;
}
