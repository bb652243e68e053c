// kxecfgc: the configuration centre "agt_cfgc" on the local bus, for trials, tests and
// demonstrations.
#include "cl_ev.h"
#include "common/cli.h"
#include "common/complain.h"
#include "common/service.h"
#include "common/stop_signals.h"
#include "kxe_base.h"
#include "kxecfgc/answer.h"
#include "kxecfgc/centre.h"
#include "kxecfgc/file_watch.h"

namespace {

constexpr char kBusName[] = "agt_cfgc";
constexpr std::uint64_t kMostCount = 1'000'000'000;
constexpr char kDescription[] =
    "Hands out the manager's addresses as the configuration centre \"agt_cfgc\" on the local bus, "
    "and "
    "tells the agent \"agt_ei\" when they change.";
constexpr char kFileFormat[] =
    "The address file is an INI file, read again whenever it changes:\n"
    "  [multi_ip]\n"
    "  ip0=192.0.2.1\n"
    "  ip1=192.0.2.2\n";
constexpr char kExitStatus[] =
    "Exit status: 0 ended by --count or a signal; 1 the address file cannot be used at the start, "
    "or "
    "the bus name cannot be taken; 64 wrong arguments.";

std::optional<int> ReadOptions(int argc, char** argv, kxecfgc::Options& options,
                               kxapp::FaultPlan& faults) {
    CLI::App app{kDescription, "kxecfgc"};
    app.footer(std::string(kFileFormat) + "\nKinds of fault, for each answer:\n" +
               kxapp::DescribeFaults(kxecfgc::FaultKinds()) + "\n" + kExitStatus);
    app.add_option("--addresses", options.addresses,
                   "The address file; a leading @ is this program's directory")
        ->type_name("FILE")
        ->capture_default_str();
    app.add_option("--count", options.count, "End after N requests, the last one answered")
        ->type_name("N")
        ->check(kxapp::WholeNumber(1, kMostCount));
    kxapp::AddFaultOption(app, faults, "requests");
    app.add_flag("--verbose", options.verbose,
                 "Print a line for each request and each change notification");
    return kxapp::ReadCommandLine(app, KX_VERSION, argc, argv);
}

std::string Expanded(const std::string& path) {
    char expanded[4096];
    kxe_dirutils_path_transform(path.c_str(), expanded, sizeof expanded);
    return expanded;
}

int Serve(kxecfgc::Centre& centre, const std::string& address_file) {
    const kxapp::StopSignals stop;
    kxapp::Service service(
        kBusName, [&centre](const kxapp::Request& request) { return centre.handle(request); });
    bool file_changed = false;
    // Before the file is read, so that no change falls in between.
    const kxecfgc::FileWatch watch(address_file, [&file_changed] { file_changed = true; });
    if (!centre.load() || !service.open()) {
        return kxapp::kExitFailure;
    }
    while (!stop.arrived() && !(centre.done() && !service.has_late_replies())) {
        (void)cl_event_loop_once();
        if (!service.after_pass()) {
            return kxapp::kExitFailure;
        }
        if (std::exchange(file_changed, false) && centre.reload()) {
            centre.notify(service.bus());
        }
    }
    return kxapp::kExitSuccess;
}

int Main(int argc, char** argv) {
    kxecfgc::Options options;
    kxapp::FaultPlan faults(kxecfgc::FaultKinds());
    if (const auto status = ReadOptions(argc, argv, options, faults)) {
        return *status;
    }
    options.addresses = Expanded(options.addresses);
    kxecfgc::Centre centre(options, std::move(faults));
    return Serve(centre, options.addresses);
}

}  // namespace

int main(int argc, char** argv) {
    return kxapp::RunProgram(Main, argc, argv);
}
