#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "kxectl/checks.h"
#include "kxectl/process.h"

namespace kxectl {

namespace {

struct Pipe {
    int ends[2] = {-1, -1};
    Pipe() {
        if (pipe2(ends, O_CLOEXEC) != 0) {
            throw std::runtime_error(std::string("cannot make a pipe: ") + std::strerror(errno));
        }
    }
    ~Pipe() {
        close_end(0);
        close_end(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void close_end(int end) {
        if (ends[end] >= 0) {
            close(ends[end]);
            ends[end] = -1;
        }
    }
};

// Loads the module and tells over the pipe what the loader says.
[[noreturn]] void LoadAndTell(const std::string& path, int pipe_end) {
    if (dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL) == nullptr) {
        const char* const reason = dlerror();
        if (reason != nullptr) {
            (void)!write(pipe_end, reason, std::strlen(reason));
        }
        _exit(1);
    }
    _exit(0);
}

std::string ReadAll(int pipe_end) {
    std::string text;
    char buffer[4096];
    for (;;) {
        const ssize_t got = read(pipe_end, buffer, sizeof buffer);
        if (got > 0) {
            text.append(buffer, static_cast<std::size_t>(got));
        } else if (got == 0 || errno != EINTR) {
            return text;
        }
    }
}

int WaitFor(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            throw std::runtime_error("cannot wait for a process");
        }
    }
    return status;
}

// Empty when the library can be loaded.
std::string WhyNotLoaded(const std::string& path) {
    Pipe pipe;
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error(std::string("cannot fork: ") + std::strerror(errno));
    }
    if (child == 0) {
        LoadAndTell(path, pipe.ends[1]);
    }
    pipe.close_end(1);
    const std::string reason = ReadAll(pipe.ends[0]);
    const int status = WaitFor(child);
    if (WIFSIGNALED(status)) {
        return "the process that tried it was ended by signal " + std::to_string(WTERMSIG(status));
    }
    if (WEXITSTATUS(status) == 0) {
        return "";
    }
    return reason.empty() ? "the loader gives no reason" : reason;
}

struct KnownName {
    const char* name;
    const char* why;
    const char* remedy;
};

constexpr KnownName kNames[] = {
    {"agt_ei", "no module runs in this installation: nothing is collected",
     "start the host: the service kxehost, bin/kxehost, or the one that is used instead"},
    {"mgr_ei", "uploads reach nobody, and the agent goes offline",
     "start the manager's connection, or kxemgr: the service, or bin/kxemgr"},
    {"agt_cfgc", "the manager addresses are not kept up to date",
     "start the configuration centre, or kxecfgc: the service, or bin/kxecfgc"},
};

}  // namespace

void CheckModule(const std::filesystem::path& root, Findings& findings) {
    const std::filesystem::path path = root / "lib/libkxepinfo.so";
    if (access(path.c_str(), R_OK) != 0) {
        return;  // CheckFiles tells
    }
    if (const std::string reason = WhyNotLoaded(path.string()); !reason.empty()) {
        findings.push_back({"the module cannot be loaded: " + reason,
                            "the host cannot start, and nothing is collected",
                            "install the package that the missing library is of, or the agent "
                            "again; ldd " +
                                path.string() + " lists all"});
    }
}

void CheckRunningFiles(const std::filesystem::path& root, pid_t host, Findings& findings) {
    if (const std::string file = ReplacedFileOf(host, root); !file.empty()) {
        findings.push_back({"process " + std::to_string(host) + " runs a file that is not there " +
                                "any more: " + file,
                            "the agent goes on as it was before an upgrade",
                            "restart the host: the service kxehost, or what is used instead"});
    }
}

void JudgeListener(const std::string& name, const kxapp::Listener& listener, Findings& findings) {
    if (listener.failure == 0) {
        return;
    }
    if (listener.failure != ENOENT && listener.failure != ECONNREFUSED) {
        findings.push_back(
            {name + " cannot be reached on the bus: " + std::strerror(listener.failure),
             "nobody can tell whether it is there",
             "run this as root, as the host's user or as a member of a group in "
             "allowed_gids"});
        return;
    }
    for (const KnownName& known : kNames) {
        if (name == known.name) {
            findings.push_back({"nobody answers on the bus as " + name, known.why, known.remedy});
        }
    }
}

}  // namespace kxectl
