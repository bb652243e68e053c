#include "belongings.h"

#include <fcntl.h>
#include <locale.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cfenv>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "own_life.h"

namespace storm {
namespace {

std::string Dispositions() {
    std::ostringstream text;
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action {};
        if (sigaction(number, nullptr, &action) != 0) {
            continue;  // the C library's own
        }
        unsigned long long mask = 0;
        std::memcpy(&mask, &action.sa_mask, sizeof mask);
        text << number << ':' << reinterpret_cast<void*>(action.sa_handler) << '/' << std::hex
             << action.sa_flags << '/' << mask << std::dec << ' ';
    }
    return text.str();
}

std::string Masks() {
    std::ostringstream text;
    for (const unsigned long long mask : MasksOfOwnThreads()) {
        text << std::hex << mask << ' ';
    }
    return text.str();
}

std::string Locale() {
    const bool global = uselocale(static_cast<locale_t>(nullptr)) == LC_GLOBAL_LOCALE;
    return setlocale(LC_ALL, nullptr) + std::string(global ? "" : ", another one in this thread");
}

std::string Environment() {
    std::string text;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        text.append(*entry).append("|");
    }
    return text + " timezone " + tzname[0] + " " + std::to_string(timezone);
}

// Not asked for by setting it, which would be seen by the other threads.
std::string Umask() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("Umask:")) {
            return line;
        }
    }
    return "unknown";
}

std::string Directories() {
    return std::filesystem::read_symlink("/proc/self/cwd").string() + " below " +
           std::filesystem::read_symlink("/proc/self/root").string();
}

// Their periods. That the one that runs goes on running is part of what lives (own_life.h); what is
// left of its period is for a moment nothing.
std::string Timers() {
    std::ostringstream text;
    for (const auto which : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
        itimerval timer{};
        getitimer(which, &timer);
        text << timer.it_interval.tv_sec << '.' << timer.it_interval.tv_usec << ' ';
    }
    return text.str();
}

// Their sizes too: nobody writes to them but the host, and that at its end.
std::string Streams() {
    std::ostringstream text;
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        struct stat status {};
        fstat(descriptor, &status);
        text << status.st_dev << '/' << status.st_ino << '/' << status.st_size << '/'
             << fcntl(descriptor, F_GETFL) << '/' << fcntl(descriptor, F_GETFD) << ' ';
    }
    return text.str();
}

std::string Limits() {
    std::ostringstream text;
    for (int which = 0; which < RLIMIT_NLIMITS; ++which) {
        rlimit limit{};
        getrlimit(static_cast<__rlimit_resource>(which), &limit);
        text << limit.rlim_cur << '/' << limit.rlim_max << ' ';
    }
    return text.str();
}

std::string Process() {
    char name[16] = {};
    prctl(PR_GET_NAME, name);
    int subreaper = 0;
    prctl(PR_GET_CHILD_SUBREAPER, &subreaper);
    std::ostringstream text;
    text << name << " dumpable " << prctl(PR_GET_DUMPABLE) << " subreaper " << subreaper
         << " session " << getsid(0) << " group " << getpgrp() << " user " << geteuid() << '/'
         << getegid() << " nice " << getpriority(PRIO_PROCESS, 0) << " policy "
         << sched_getscheduler(0) << " rounding " << std::fegetround();
    return text.str();
}

}  // namespace

Belongings LookAtBelongings() {
    return {{"dispositions", Dispositions()},
            {"masks", Masks()},
            {"locale", Locale()},
            {"environment", Environment()},
            {"umask", Umask()},
            {"directory", Directories()},
            {"timers", Timers()},
            {"streams", Streams()},
            {"limits", Limits()},
            {"process", Process()}};
}

void MakeBelongingsUnusual() {
    setlocale(LC_ALL, "C.UTF-8");
    setenv("KX_STORM", "blows", 1);
    setenv("TZ", "Asia/Kathmandu", 1);
    tzset();
    umask(0037);
    (void)!chdir("/usr");
    const rlimit no_core = {0, RLIM_INFINITY};
    setrlimit(RLIMIT_CORE, &no_core);
    prctl(PR_SET_NAME, "storm");
    std::fesetround(FE_UPWARD);
}

}  // namespace storm
