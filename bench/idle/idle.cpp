// What a worker costs that has little to do, watched side by side in the same time:
//
// - a thread that waits in cl_event_loop_once with the module's timer of 40 s and a callback that
//   does nothing;
// - the host with the module, its collections at that interval included, when a host is given;
// - for comparison a thread that sleeps 100 ms and looks again.
//
//   bench_idle    from the bin directory of an installation
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "child.h"
#include "cl_ev.h"
#include "notification.h"
#include "report.h"
#include "watched.h"

namespace {

constexpr unsigned kSeconds = 85;  // two ticks of the timer
constexpr int kTimerMs = 40000;
constexpr unsigned kSleepUs = 100000;
// Past what only the beginning costs: the module's first collection takes one second.
constexpr unsigned kSettleSeconds = 4;
constexpr char kReference[] = "loop of 100 ms sleeps";

std::atomic<bool> stopping{false};
std::atomic<int> ticks{0};

void* WaitInTheLoop(void* id) {
    (void)cl_timerplus_start(
        0, kTimerMs, [](cl_timerplus*) { ++ticks; }, nullptr);
    *static_cast<std::atomic<pid_t>*>(id) = gettid();
    while (!stopping) {
        (void)cl_event_loop_once();
    }
    return nullptr;
}

void* SleepAndLook(void* id) {
    *static_cast<std::atomic<pid_t>*>(id) = gettid();
    while (!stopping) {
        (void)usleep(kSleepUs);
    }
    return nullptr;
}

// The id that the thread writes when it runs.
pid_t WaitForId(const std::atomic<pid_t>& id) {
    while (id == 0) {
        (void)usleep(1000);
    }
    return id;
}

class Host {
  public:
    explicit Host(const std::string& program) : child_(program, {}, {notification_.Variable()}) {
        notification_.WaitUntilReady();
    }
    Watched watched() const { return Watched(child_.pid()); }

  private:
    kxbench::Notification notification_;
    kxbench::Child child_;
};

// What each used within the time, extrapolated to one hour.
std::vector<Use> UseOfAnHour(const std::vector<Watched>& all, unsigned seconds) {
    std::vector<Use> uses;
    for (const Watched& watched : all) {
        uses.push_back(watched.Read());
    }
    (void)sleep(seconds);
    const double windows = 3600.0 / seconds;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const Use now = all[i].Read();
        uses[i] = {(now.cpu_seconds - uses[i].cpu_seconds) * windows,
                   (now.waits - uses[i].waits) * windows};
    }
    return uses;
}

void ReportUse(const std::string& what, const Use& use, const Use& reference) {
    kxbench::Report(what + ": processor time an hour", use.cpu_seconds, "s", kReference,
                    reference.cpu_seconds);
    kxbench::Report(what + ": wake-ups an hour", use.waits, "wake-ups", kReference,
                    reference.waits);
}

void Measure(const std::string& host_program, unsigned seconds) {
    std::atomic<pid_t> waiting_id{0};
    std::atomic<pid_t> sleeping_id{0};
    pthread_t waiting{};
    pthread_t sleeping{};
    std::optional<Host> host;
    if (!host_program.empty()) {
        host.emplace(host_program);
    }
    if (cl_ev_create_isolated_thread(&waiting, 0, WaitInTheLoop, &waiting_id) != 0 ||
        pthread_create(&sleeping, nullptr, SleepAndLook, &sleeping_id) != 0) {
        kxbench::Fail("cannot make a thread");
    }
    std::vector<Watched> all = {Watched(sleeping, WaitForId(sleeping_id)),
                                Watched(waiting, WaitForId(waiting_id))};
    if (host) {
        all.push_back(host->watched());
    }
    (void)sleep(kSettleSeconds);
    const std::vector<Use> uses = UseOfAnHour(all, seconds);
    stopping = true;
    cl_event_loop_wake(waiting);
    (void)pthread_join(waiting, nullptr);
    (void)pthread_join(sleeping, nullptr);

    if (ticks == 0) {
        kxbench::Fail("the timer did not tick");
    }
    ReportUse("waiting thread", uses[1], uses[0]);
    if (host) {
        ReportUse("host with the module, collections included", uses[2], uses[0]);
    }
}

}  // namespace

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("idle", argc, argv);
    Measure(kxbench::OwnInstallation() + "/bin/kxehost", kSeconds);
    return EXIT_SUCCESS;
}
