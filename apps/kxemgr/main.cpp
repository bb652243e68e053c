// kxemgr: the manager "mgr_ei" on the local bus, for trials, tests and demonstrations.
#include "cl_ev.h"
#include "common/cli.h"
#include "common/service.h"
#include "common/stop_signals.h"
#include "kxemgr/answer.h"
#include "kxemgr/manager.h"

namespace {

constexpr char kBusName[] = "mgr_ei";
constexpr std::uint64_t kMostCount = 1'000'000'000;
constexpr char kDescription[] =
    "Receives the uploads of the endpoint-information module as the manager \"mgr_ei\" on the "
    "local "
    "bus, checks, shows and answers them.";
constexpr char kExitStatus[] =
    "Exit status: 0 ended by --count or a signal; 1 the bus name cannot be taken, or standard "
    "output "
    "cannot be written; 64 wrong arguments.";

std::optional<int> ReadOptions(int argc, char** argv, kxemgr::Options& options,
                               kxapp::FaultPlan& faults) {
    CLI::App app{kDescription, "kxemgr"};
    app.footer("Kinds of fault, for each answer; what is shown and counted stays the same:\n" +
               kxapp::DescribeFaults(kxemgr::FaultKinds()) + "\n" + kExitStatus);
    app.add_flag("--json", options.json, "Print each upload as one JSON object on a line");
    app.add_option("--count", options.count, "End after N uploads, the last one answered")
        ->type_name("N")
        ->check(kxapp::WholeNumber(1, kMostCount));
    kxapp::AddFaultOption(app, faults, "uploads");
    return kxapp::ReadCommandLine(app, KX_VERSION, argc, argv);
}

int Main(int argc, char** argv) {
    kxemgr::Options options;
    kxapp::FaultPlan faults(kxemgr::FaultKinds());
    if (const auto status = ReadOptions(argc, argv, options, faults)) {
        return *status;
    }
    const kxapp::StopSignals stop;
    kxemgr::Manager manager(options, std::move(faults));
    kxapp::Service service(
        kBusName, [&manager](const kxapp::Request& request) { return manager.handle(request); });
    if (!service.open()) {
        return kxapp::kExitFailure;
    }
    while (!stop.arrived() && !manager.failed() &&
           !(manager.done() && !service.has_late_replies())) {
        (void)cl_event_loop_once();
        if (!service.after_pass()) {
            return kxapp::kExitFailure;
        }
    }
    return manager.failed() ? kxapp::kExitFailure : kxapp::kExitSuccess;
}

}  // namespace

int main(int argc, char** argv) {
    return kxapp::RunProgram(Main, argc, argv);
}
