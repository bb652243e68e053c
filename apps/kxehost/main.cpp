// kxehost: the agent's host process. Loads the module, starts it, waits for signals.
#include <pthread.h>
#include <signal.h>

#include "common/cli.h"
#include "common/installation.h"
#include "kxehost/module.h"
#include "kxehost/permissions.h"
#include "kxehost/service_manager.h"

namespace {

constexpr char kDescription[] =
    "Loads the endpoint-information module, starts it and waits.\n"
    "SIGTERM and SIGINT stop the module and end the program; SIGHUP stops the module and starts it "
    "again.";
constexpr char kFooter[] =
    "Exit status: 0 stopped by a signal; 1 the module cannot be loaded or started, or did not stop "
    "cleanly; 64 wrong arguments.";

// The signals that are waited for are blocked, in the module's threads too, from before it is
// loaded. A broken pipe must not end the process, yet programs that the module starts must find the
// default again: so it is caught, not ignored. The end of such a program is nothing to this thread;
// blocked here and in the module's threads, it wakes nobody.
sigset_t PrepareSignals() {
    sigset_t awaited;
    sigemptyset(&awaited);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&awaited, number);
    }
    sigset_t blocked = awaited;
    sigaddset(&blocked, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);

    struct sigaction caught {};
    caught.sa_handler = [](int) {};
    caught.sa_flags = SA_RESTART;
    sigaction(SIGPIPE, &caught, nullptr);
    return awaited;
}

bool Restart(kxehost::Module& module, const kxehost::ServiceManager& service_manager) {
    service_manager.reloading();
    if (!module.stop() || !module.start()) {
        return false;
    }
    service_manager.ready();
    return true;
}

int Serve(kxehost::Module& module, const kxehost::ServiceManager& service_manager,
          const sigset_t& awaited) {
    service_manager.ready();
    for (;;) {
        const int number = sigwaitinfo(&awaited, nullptr);
        if (number == SIGHUP) {
            if (!Restart(module, service_manager)) {
                return kxapp::kExitFailure;
            }
        } else if (number == SIGTERM || number == SIGINT) {
            service_manager.stopping();
            return module.stop() ? kxapp::kExitSuccess : kxapp::kExitFailure;
        }
    }
}

std::optional<int> ReadOptions(int argc, char** argv, std::string& path) {
    CLI::App app{kDescription, "kxehost"};
    app.footer(kFooter);
    app.add_option("--module", path, "The module's file; a leading @ is this program's directory")
        ->type_name("PATH")
        ->capture_default_str();
    return kxapp::ReadCommandLine(app, KX_VERSION, argc, argv);
}

int Main(int argc, char** argv) {
    std::string path = "@/../lib/libkxepinfo.so";
    if (const auto status = ReadOptions(argc, argv, path)) {
        return *status;
    }
    const sigset_t awaited = PrepareSignals();
    const kxehost::ServiceManager service_manager;
    kxehost::ComplainOfPermissions(kxapp::InstallationRoot());
    kxehost::Module module;
    if (!module.load(path) || !module.start()) {
        return kxapp::kExitFailure;
    }
    return Serve(module, service_manager, awaited);
}

}  // namespace

int main(int argc, char** argv) {
    return kxapp::RunProgram(Main, argc, argv);
}
