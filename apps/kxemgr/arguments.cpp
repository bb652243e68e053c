#include "kxemgr/arguments.h"

#include "common/cli.h"
#include "kxemgr/console/address.h"

namespace kxemgr {

namespace {

constexpr std::uint64_t kMostCount = 1'000'000'000;
constexpr std::uint64_t kMostKeepDays = 36'500;
constexpr std::uint64_t kMostOfflineAfterS = 86'400;
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
    "Exit status: 0 ended by --count or a signal; 1 the database cannot be opened, the console "
    "cannot listen, the bus name cannot be taken, or standard output cannot be written; 64 wrong "
    "arguments.";

CLI::Validator NotEmpty() {
    return CLI::Validator(
        [](const std::string& text) { return text.empty() ? "no file is named" : std::string(); },
        "");
}

CLI::Option* AddFile(CLI::App& app, const char* option, std::string& file, const char* use) {
    return app.add_option(option, file, use)->type_name("FILE")->check(NotEmpty());
}

CLI::Validator IsListenAddress() {
    const auto check = [](const std::string& text) {
        return console::ParseListenAddress(text)
                   ? std::string()
                   : "'" + text + "' is not an address and a port, as 127.0.0.1:8627";
    };
    return CLI::Validator(check, "");
}

void AddConsoleOptions(CLI::App& app, console::Settings& settings) {
    CLI::Option* http =
        app.add_option("--http", settings.listen,
                       "Serve the console, /api and /metrics at this address and port, as "
                       "127.0.0.1:8627; who reaches it may read it, unless there is a token")
            ->type_name("ADDRESS:PORT")
            ->check(IsListenAddress());
    AddFile(app, "--http-token-file", settings.token_file,
            "Ask for the token in the first line of this file, which only its owner may read; "
            "without one the console is found on a loopback address only")
        ->needs(http);
    app.add_option("--http-host", settings.host_names,
                   "Be found under this name too, besides addresses and localhost; may be given "
                   "several times")
        ->type_name("NAME")
        ->allow_extra_args(false)
        ->needs(http);
    app.add_option("--offline-after", settings.offline_after_s,
                   "Take an agent for offline so long after its last upload (120)")
        ->type_name("SECONDS")
        ->check(kxapp::WholeNumber(1, kMostOfflineAfterS))
        ->needs(http);
}

}  // namespace

std::optional<int> ReadArguments(const char* version, int argc, char** argv, Arguments& arguments) {
    CLI::App app{kDescription, "kxemgr"};
    app.footer(
        std::string(kTextInOutput) +
        "\n\nKinds of fault, for each answer; uploads are received and kept all the same:\n" +
        kxapp::DescribeFaults(FaultKinds()) + "\n" + kExitStatus);
    app.add_flag("--json", arguments.options.json,
                 "Print each upload as one JSON object on a line");
    app.add_option("--count", arguments.options.count, "End after N uploads, the last one answered")
        ->type_name("N")
        ->check(kxapp::WholeNumber(1, kMostCount));
    CLI::Option* db =
        AddFile(app, "--db", arguments.database,
                "Keep every upload and the latest state of each agent in this SQLite file, on disk "
                "before it is answered; what cannot be kept is refused");
    app.add_option("--keep", arguments.keep_days,
                   "Delete from the database what is older than DAYS, a little at a time; agents "
                   "stay, since clones are told by them. Without it nothing is deleted")
        ->type_name("DAYS")
        ->check(kxapp::WholeNumber(1, kMostKeepDays))
        ->needs(db);
    AddConsoleOptions(app, arguments.console);
    kxapp::AddFaultOption(app, arguments.faults, "uploads");
    const auto status = kxapp::ReadCommandLine(app, version, argc, argv);
    arguments.console.database = arguments.database;
    arguments.console.version = version;
    return status;
}

}  // namespace kxemgr
