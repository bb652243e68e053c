#include "bus.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

namespace fs = std::filesystem;

Instance Join(const char* name) {
    return Instance(nox_ipc_create(name, 0));
}

noxipc::Address AddressOf(const char* name) {
    return noxipc::Address(nox_addr_create(name, 0, 0));
}

void RunUntil(const std::function<bool()>& condition) {
    while (!condition()) {
        ASSERT_NE(0, cl_event_loop_once()) << "nothing is left that could become due";
    }
}

void RunWhatIsDue() {
    cl_event_loop_wake(pthread_self());
    (void)cl_event_loop_once();
}

Repeated::Repeated(uint64_t period_ms, std::function<void()> work)
    : work_(std::move(work)), timer_(new uv_timer_t) {
    (void)uv_timer_init(cl_event_loop_current(), timer_);
    timer_->data = this;
    const auto run = [](uv_timer_t* timer) { static_cast<Repeated*>(timer->data)->work_(); };
    (void)uv_timer_start(timer_, run, period_ms, period_ms);
}

Repeated::~Repeated() {
    uv_close(reinterpret_cast<uv_handle_t*>(timer_),
             [](uv_handle_t* closed) { delete reinterpret_cast<uv_timer_t*>(closed); });
}

void Outcome::Callback(int status, unsigned type, const char* data, unsigned len, void* user) {
    auto* self = static_cast<Outcome*>(user);
    ++self->calls;
    self->status = status;
    self->type = type;
    self->data_was_null = data == nullptr;
    self->data.assign(data == nullptr ? "" : data, len);
}

int Ask(const Instance& from, const noxipc::Address& to, const std::string& data, Outcome* outcome,
        int timeout_s) {
    return nox_ipc_make_request(from.get(), to.get(), 7, data.data(),
                                static_cast<unsigned>(data.size()), Outcome::Callback, outcome,
                                timeout_s);
}

void EchoRequest(nox_ipc_st* ipc, const nox_addr_st* from, unsigned request_id, unsigned type,
                 const char* data, unsigned len, void* /*user*/) {
    EXPECT_EQ(0, nox_ipc_response(ipc, from, request_id, type, data, len));
}

fs::path BusPath(const std::string& file) {
    return kxtest::InstallationRoot() / "var/run/ipc" / file;
}

namespace {

[[noreturn]] void RunChild(const std::function<int(const std::function<void()>&)>& body,
                           int ready_pipe) {
    // A copy of a socket would keep a connection open that the parent closes.
    (void)dup2(ready_pipe, 3);
    (void)close_range(4, ~0U, 0);
    (void)alarm(100);  // nobody waits for a child of a test that has crashed
    _exit(body([] {
        (void)!write(3, "r", 1);
        (void)close(3);
    }));
}

}  // namespace

// Forked from a thread that has no event loop, since a child must not use its parent's.
Child::Child(std::function<int(const std::function<void()>&)> body) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    std::thread([&] {
        pid_ = fork();
        if (pid_ == 0) {
            RunChild(body, ends[1]);
        }
    }).join();
    (void)close(ends[1]);
    char byte = 0;
    (void)!read(ends[0], &byte, 1);
    (void)close(ends[0]);
}

Child::~Child() {
    if (pid_ > 0 && !waited_) {
        Kill(SIGKILL);
        (void)Wait();
    }
}

void Child::Kill(int signal) const {
    EXPECT_EQ(0, kill(pid_, signal));
}

int Child::Wait() {
    int status = 0;
    EXPECT_EQ(pid_, waitpid(pid_, &status, 0));
    waited_ = true;
    return status;
}

std::function<int(const std::function<void()>&)> Echoing(std::string name) {
    return [name = std::move(name)](const std::function<void()>& ready) {
        const Instance instance = Join(name.c_str());
        if (instance == nullptr || nox_ipc_on_request(instance.get(), EchoRequest, nullptr) != 0) {
            return 1;
        }
        ready();
        while (cl_event_loop_once() != 0) {
        }
        return 2;
    };
}

void BusTest::SetUp() {
    kxtest::InstallationTest::SetUp();
    kxtest::ClearLog();
}

BusTest::~BusTest() {
    constexpr int kEnoughPasses = 100;
    bool alive = true;
    for (int pass = 0; alive && pass < kEnoughPasses; ++pass) {
        cl_event_loop_wake(pthread_self());
        alive = cl_event_loop_once() != 0;
    }
    EXPECT_FALSE(alive) << "a handle of the bus was left open";
}
