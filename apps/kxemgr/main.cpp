// kxemgr: the manager "mgr_ei" on the local bus, for trials, tests and demonstrations.
#include "cl_ev.h"
#include "common/cli.h"
#include "common/complain.h"
#include "common/service.h"
#include "common/stop_signals.h"
#include "kxemgr/answer.h"
#include "kxemgr/manager.h"

namespace {

constexpr char kBusName[] = "mgr_ei";
constexpr std::uint64_t kMostCount = 1'000'000'000;
constexpr char kDescription[] =
    "Receives the uploads of the endpoint-information module as the manager \"mgr_ei\" on the "
    "local bus, checks, shows and answers them. An agent whose id belongs to another machine (host "
    "name, MACs and virtual machine's id all known and all different) is told that it is a "
    "duplicate.";
constexpr char kTextInOutput[] =
    "Text in JSON is exact to the byte: a zero byte is \\u0000, and where text is not UTF-8 each "
    "wrong byte and each backslash becomes \\xNN and the text's path is in \"not_utf8\", which has "
    "room for 100. For people, text ends at its first zero byte, and bytes that are not UTF-8 or "
    "could disturb a terminal become \\xNN.";
constexpr char kExitStatus[] =
    "Exit status: 0 ended by --count or a signal; 1 the database cannot be opened, the bus name "
    "cannot be taken, or standard output cannot be written; 64 wrong arguments.";

CLI::Validator NotEmpty() {
    return CLI::Validator(
        [](const std::string& text) { return text.empty() ? "no file is named" : std::string(); },
        "");
}

struct Arguments {
    kxemgr::Options options;
    kxapp::FaultPlan faults{kxemgr::FaultKinds()};
    std::string database;  // file name; empty: none
};

std::optional<int> ReadArguments(int argc, char** argv, Arguments& arguments) {
    CLI::App app{kDescription, "kxemgr"};
    app.footer(
        std::string(kTextInOutput) +
        "\n\nKinds of fault, for each answer; uploads are received and kept all the same:\n" +
        kxapp::DescribeFaults(kxemgr::FaultKinds()) + "\n" + kExitStatus);
    app.add_flag("--json", arguments.options.json,
                 "Print each upload as one JSON object on a line");
    app.add_option("--count", arguments.options.count, "End after N uploads, the last one answered")
        ->type_name("N")
        ->check(kxapp::WholeNumber(1, kMostCount));
    app.add_option("--db", arguments.database,
                   "Keep every upload and the latest state of each agent in this SQLite file, on "
                   "disk before it is answered; what cannot be kept is refused")
        ->type_name("FILE")
        ->check(NotEmpty());
    kxapp::AddFaultOption(app, arguments.faults, "uploads");
    return kxapp::ReadCommandLine(app, KX_VERSION, argc, argv);
}

// False, after a complaint, when the database that is asked for cannot be opened.
bool OpenDatabase(const std::string& file, std::unique_ptr<kxemgr::Database>& database) {
    if (file.empty()) {
        return true;
    }
    std::string fault;
    database = kxemgr::Database::Open(file, fault);
    if (database == nullptr) {
        kxapp::Complain("cannot open the database %s: %s", file.c_str(), fault.c_str());
    }
    return database != nullptr;
}

int Main(int argc, char** argv) {
    Arguments arguments;
    if (const auto status = ReadArguments(argc, argv, arguments)) {
        return *status;
    }
    const kxapp::StopSignals stop;
    std::unique_ptr<kxemgr::Database> database;
    if (!OpenDatabase(arguments.database, database)) {
        return kxapp::kExitFailure;
    }
    kxemgr::Manager manager(arguments.options, std::move(arguments.faults), std::move(database));
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
