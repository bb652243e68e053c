// kxectl: questions and messages to the agent, decoding of messages, and a look at the
// installation, for people and scripts.
#include <cerrno>
#include <limits>

#include "common/cli.h"
#include "common/complain.h"
#include "common/installation.h"
#include "common/keyvalue.h"
#include "kxectl/agent.h"
#include "kxectl/bundle.h"
#include "kxectl/decode_command.h"
#include "kxectl/doctor.h"
#include "kxectl/input.h"
#include "kxectl/online.h"
#include "kxectl/status.h"
#include "kxectl/watch.h"

namespace {

constexpr int kExitOffline = 1;
constexpr int kExitNoAgent = 2;
constexpr int kExitTrouble = 3;
constexpr int kExitNoManager = 4;

constexpr unsigned kHeartbeatType = 101;
constexpr unsigned kNotificationType = 1002;

constexpr char kExitStatus[] =
    "Exit status:\n"
    "  0  online; delivered to the agent; decoded; nothing found; made; watched to the end\n"
    "  1  offline; not decodable; something found\n"
    "  2  no agent is there\n"
    "  3  the agent gave no answer in time or an unreadable one, or something else went wrong\n"
    "  4  no manager is there, or none that can be watched\n"
    "  64 wrong arguments\n";

struct Options {
    int timeout_s = 5;
    std::uint32_t status = 0;
    std::string file = "-";
    std::string type;  // empty: told from the bytes
    bool json = false;
    std::string bundle;
    kxectl::WatchOptions watch;
};

kxectl::MessageType TypeNamed(const std::string& name) {
    if (name.empty()) {
        return kxectl::MessageType::kDetect;
    }
    return name == "epinfo" ? kxectl::MessageType::kUpload : kxectl::MessageType::kAnswer;
}

CLI::Validator KnownType() {
    const auto check = [](const std::string& name) {
        return name == "epinfo" || name == "epinfo_msg_respone"
                   ? std::string()
                   : "'" + name + "' is neither epinfo nor epinfo_msg_respone";
    };
    return CLI::Validator(check, "");
}

// What the error code of the bus means for the exit status, after a complaint.
int ExitForBusError(int code) {
    const bool no_agent = code == ECONNREFUSED;
    kxapp::Complain(no_agent ? "no agent is there: %s" : "no answer from the agent: %s",
                    nox_ipc_strerror(code));
    return no_agent ? kExitNoAgent : kExitTrouble;
}

// Asks, and gives the exit status unless there is a readable answer, which `online` then holds.
std::optional<int> AskOnline(kxectl::Agent& agent, bool& online) {
    const kxectl::Outcome outcome = agent.ask_online();
    if (!outcome.arrived) {
        kxapp::Complain("interrupted");
        return kExitTrouble;
    }
    if (outcome.status != 0) {
        return ExitForBusError(outcome.status);
    }
    std::string fault;
    const auto state = kxectl::ReadOnlineState(outcome.type, outcome.data, fault);
    if (!state) {
        kxapp::Complain("the agent gave %s", fault.c_str());
        return kExitTrouble;
    }
    online = *state;
    return std::nullopt;
}

int Online(const Options& options) {
    kxectl::Agent agent(options.timeout_s);
    bool online = false;
    if (!agent.join()) {
        return kExitTrouble;
    }
    if (const auto status = AskOnline(agent, online)) {
        return *status;
    }
    if (!kxapp::WriteOut(online ? "online\n" : "offline\n")) {
        return kExitTrouble;
    }
    return online ? kxapp::kExitSuccess : kExitOffline;
}

// Heartbeats are not answered, so it is the answer to a question sent behind that tells the
// delivery.
int Heartbeat(const Options& options) {
    const std::string message =
        kxapp::PackMessage("kxectl", {{"status", std::to_string(options.status)}});
    kxectl::Agent agent(options.timeout_s);
    bool online = false;
    if (!agent.join() || !agent.send_request(kHeartbeatType, message)) {
        return kExitTrouble;
    }
    return AskOnline(agent, online).value_or(kxapp::kExitSuccess);
}

int Notify(const Options& options) {
    const std::string message = kxapp::PackMessage("kxectl", {{"global", "1"}});
    kxectl::Agent agent(options.timeout_s);
    bool online = false;
    if (!agent.join()) {
        return kExitTrouble;
    }
    if (const int failure = agent.send_message(kNotificationType, message); failure != 0) {
        return ExitForBusError(failure);
    }
    return AskOnline(agent, online).value_or(kxapp::kExitSuccess);
}

int Decode(const Options& options) {
    const auto bytes = kxectl::ReadInput(options.file);
    if (!bytes) {
        return kExitTrouble;
    }
    std::string fault;
    const auto json = kxectl::DecodeToJson(*bytes, TypeNamed(options.type), fault);
    if (!json) {
        kxapp::Complain("cannot decode: %s", fault.c_str());
        return kxapp::kExitFailure;
    }
    return kxapp::WriteOut(*json) ? kxapp::kExitSuccess : kExitTrouble;
}

int Doctor(const Options& options) {
    const kxectl::Findings findings = kxectl::Examine(kxapp::InstallationRoot(), options.timeout_s);
    const std::string text =
        options.json ? kxectl::FindingsAsJson(findings) : kxectl::FindingsForPeople(findings);
    if (!kxapp::WriteOut(text)) {
        return kExitTrouble;
    }
    return findings.empty() ? kxapp::kExitSuccess : kxapp::kExitFailure;
}

// How the agent that is there answers; nothing is said of one that is not.
int AskForStatus(const Options& options, kxectl::Status& status) {
    const int failure = status.module.failure;
    if (failure != 0) {
        return failure == ENOENT || failure == ECONNREFUSED ? kExitNoAgent : kExitTrouble;
    }
    kxectl::Agent agent(options.timeout_s);
    bool online = false;
    if (!agent.join()) {
        return kExitTrouble;
    }
    if (const auto trouble = AskOnline(agent, online)) {
        return *trouble;
    }
    status.online = online;
    return online ? kxapp::kExitSuccess : kExitOffline;
}

int ShowStatus(const Options& options) {
    kxectl::Status status = kxectl::Look(kxapp::InstallationRoot(), KX_VERSION);
    const int exit_status = AskForStatus(options, status);
    const std::string text =
        options.json ? kxectl::StatusAsJson(status) : kxectl::StatusForPeople(status);
    return kxapp::WriteOut(text) ? exit_status : kExitTrouble;
}

int SupportBundle(const Options& options) {
    const std::filesystem::path root = kxapp::InstallationRoot();
    kxectl::Status status = kxectl::Look(root, KX_VERSION);
    (void)AskForStatus(options, status);  // the bundle tells it, too
    const kxectl::Findings findings = kxectl::Examine(root, options.timeout_s);
    const std::string bundle =
        kxectl::PackBundle(kxectl::CollectFiles(root), kxectl::StatusForPeople(status),
                           kxectl::FindingsForPeople(findings), std::time(nullptr));
    return kxectl::WriteNewFile(options.bundle, bundle) ? kxapp::kExitSuccess : kExitTrouble;
}

int WatchManager(const Options& options) {
    kxectl::WatchOptions watch = options.watch;
    watch.json = options.json;
    watch.timeout_s = options.timeout_s;
    switch (kxectl::Watch(watch).run()) {
        case kxectl::WatchEnd::kDone:
            return kxapp::kExitSuccess;
        case kxectl::WatchEnd::kNoManager:
            return kExitNoManager;
        default:
            return kExitTrouble;
    }
}

struct Command {
    CLI::App* parser;
    int (*run)(const Options& options);
};

CLI::App* AddWatch(CLI::App& app, Options& options) {
    constexpr std::uint64_t kMostCount = 1'000'000'000;
    CLI::App* watch = app.add_subcommand(
        "watch",
        "Print the agent's uploads and the manager's answers as they happen, until Ctrl-C");
    watch->add_flag("--all", options.watch.all, "Show every agent on the bus");
    watch->add_flag("--json", options.json, "Print each upload as one JSON object on a line");
    watch->add_option("--count", options.watch.count, "End after N uploads")
        ->type_name("N")
        ->check(kxapp::WholeNumber(1, kMostCount));
    return watch;
}

std::vector<Command> AddCommands(CLI::App& app, Options& options) {
    CLI::App* online =
        app.add_subcommand("online", "Ask whether the agent is online, and print it");
    CLI::App* heartbeat = app.add_subcommand("heartbeat", "Send a status heartbeat to the agent");
    heartbeat->add_option("STATUS", options.status, "The status, a number from 0 to 4294967295")
        ->type_name("")
        ->check(kxapp::WholeNumber(0, std::numeric_limits<std::uint32_t>::max()))
        ->required();
    CLI::App* notify =
        app.add_subcommand("notify", "Tell the agent that its global configuration has changed");
    CLI::App* decode = app.add_subcommand(
        "decode", "Print an upload or an answer to one, framed or bare, as JSON");
    decode->add_option("FILE", options.file, "The file; standard input without one or for -")
        ->type_name("");
    decode
        ->add_option("--type", options.type,
                     "Take the message for epinfo (an upload) or epinfo_msg_respone (an answer) "
                     "instead of telling by its fields")
        ->type_name("TYPE")
        ->check(KnownType());
    CLI::App* doctor = app.add_subcommand(
        "doctor", "Look this installation over, and say what is wrong and what to do");
    doctor->add_flag("--json", options.json, "Print JSON");
    CLI::App* status = app.add_subcommand(
        "status", "Print how the agent is, its versions and the settings in effect");
    status->add_flag("--json", options.json, "Print JSON");
    CLI::App* bundle = app.add_subcommand(
        "support-bundle", "Put logs, configuration without secrets and state into one archive");
    bundle->add_option("FILE", options.bundle, "The archive to make, a new file.tar.gz")
        ->type_name("")
        ->required();
    return {{online, Online},        {heartbeat, Heartbeat},
            {notify, Notify},        {decode, Decode},
            {doctor, Doctor},        {status, ShowStatus},
            {bundle, SupportBundle}, {AddWatch(app, options), WatchManager}};
}

int Main(int argc, char** argv) {
    Options options;
    CLI::App app{"Talks to the endpoint-information module of the agent on this machine.",
                 "kxectl"};
    app.footer(kExitStatus);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--timeout", options.timeout_s,
                   "Seconds to wait for the agent's or the manager's answer, 1 to 3600")
        ->type_name("SECONDS")
        ->check(kxapp::WholeNumber(1, 3600))
        ->capture_default_str();
    const std::vector<Command> commands = AddCommands(app, options);
    if (const auto status = kxapp::ReadCommandLine(app, KX_VERSION, argc, argv)) {
        return *status;
    }
    for (const Command& command : commands) {
        if (command.parser->parsed()) {
            return command.run(options);
        }
    }
    return kxapp::kExitUsage;
}

}  // namespace

int main(int argc, char** argv) {
    return kxapp::RunProgram(Main, argc, argv, kExitTrouble);
}
