// kxemgr: the manager "mgr_ei" on the local bus, for trials, tests and demonstrations.
#include <optional>

#include "cl_ev.h"
#include "common/complain.h"
#include "common/program.h"
#include "common/service.h"
#include "common/stop_signals.h"
#include "common/watch.h"
#include "kxemgr/arguments.h"
#include "kxemgr/manager.h"
#include "kxemgr/retention.h"
#include "kxemgr/watchers.h"

namespace {

constexpr char kBusName[] = "mgr_ei";

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

// False, after a complaint, when the console that is asked for cannot be started. One that is tells
// where it is found, since its port may be one that nobody has chosen.
bool StartConsole(const kxemgr::console::Settings& settings,
                  std::unique_ptr<kxemgr::console::Console>& console) {
    if (settings.listen.empty()) {
        return true;
    }
    std::string fault;
    console = kxemgr::console::Console::Start(settings, fault);
    if (console == nullptr) {
        kxapp::Complain("cannot start the console: %s", fault.c_str());
        return false;
    }
    kxapp::Complain("console at %s", console->url().c_str());
    return true;
}

// Both the console, where there is one, and who watches are told.
kxemgr::Observer ObserverOf(kxemgr::console::Console* console, kxemgr::Watchers& watchers) {
    kxemgr::Observer observer = console != nullptr ? console->observer() : kxemgr::Observer{};
    observer.on_upload = [&watchers, to_console = std::move(observer.on_upload)](
                             const auto& upload, auto fault, const auto& answer) {
        to_console(upload, fault, answer);
        watchers.tell(upload, fault, answer);
    };
    return observer;
}

int Main(int argc, char** argv) {
    kxemgr::Arguments arguments;
    if (const auto status = kxemgr::ReadArguments(KX_VERSION, argc, argv, arguments)) {
        return *status;
    }
    const kxapp::StopSignals stop;
    std::unique_ptr<kxemgr::Database> database;
    std::unique_ptr<kxemgr::console::Console> console;
    if (!OpenDatabase(arguments.database, database) || !StartConsole(arguments.console, console)) {
        return kxapp::kExitFailure;
    }
    std::optional<kxemgr::Retention> retention;
    if (arguments.keep_days > 0) {
        retention.emplace(arguments.database, arguments.keep_days);
    }
    kxemgr::Watchers watchers;
    kxemgr::Manager manager(arguments.options, std::move(arguments.faults), std::move(database),
                            ObserverOf(console.get(), watchers));
    kxapp::Service service(kBusName, [&](const kxapp::Request& request) {
        return request.type == kxapp::kWatchType ? watchers.ask(request) : manager.handle(request);
    });
    const auto answer = [&service](const std::string& to, unsigned id, const std::string& data) {
        return service.answer(to, id, kxapp::kWatchType, data);
    };
    if (!service.open()) {
        return kxapp::kExitFailure;
    }
    while (!stop.arrived() && !manager.failed() &&
           !(manager.done() && !service.has_late_replies())) {
        (void)cl_event_loop_once();
        watchers.flush(answer);
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
