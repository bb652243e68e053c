#include "faults.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>

namespace fs = std::filesystem;

namespace kxtest {
namespace {

constexpr long kEachOfFirst = 4;
constexpr int kRunsPerManager = 100;  // which keeps all that it prints
constexpr long kPasses = 4;           // of the worker's loop, until what was sent is answered
constexpr char kControl[] = "control";

FaultControl* MapControl(const fs::path& file) {
    const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0 || ftruncate(descriptor, sizeof(FaultControl)) != 0) {
        throw std::system_error(errno, std::generic_category(), file.string());
    }
    void* const shared =
        mmap(nullptr, sizeof(FaultControl), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    close(descriptor);
    if (shared == MAP_FAILED) {
        throw std::system_error(errno, std::generic_category(), "mmap");
    }
    return new (shared) FaultControl{};
}

long Following(long nth) {
    const bool each = nth < kEachOfFirst || std::getenv("KX_ALL_FAULTS") != nullptr;
    return each ? nth + 1 : nth * 2;
}

}  // namespace

FaultTest::FaultTest() : m_control(MapControl(installation().path(kControl))) {
    // What is looked at only on some machines: the id of a container, and that of the machine.
    installation().write("config/cnapp", "");
    installation().write("config/machineid", "0123456789\n");
}

FaultTest::~FaultTest() {
    munmap(m_control, sizeof *m_control);
}

void FaultTest::StartAgent() {
    ChangeConfiguration();
    StartManager();
    StartCentre();
    m_uploads_seen = 0;
    if (m_host == nullptr) {
        StartFaultyHost();
        AwaitWorker(0);
        CheckCalmCycle();
        m_agent_id = installation().read("config/agent_id");
        m_calm = LookAround();
    }
}

void FaultTest::StartFaultyHost() {
    m_control->workers_made = m_control->workers_ended = 0;
    Program::Options options = SteppedTime();
    options.environment["LD_PRELOAD"] += std::string(":") + KX_FAULT_INJECTION;
    options.environment["KX_FAULTS"] = installation().path(kControl);
    m_host = &StartHost({}, options);
}

bool FaultTest::WorkerIsGone() const {
    return m_control->workers_ended == m_control->workers_made || !m_host->running();
}

void FaultTest::AwaitPasses(long passes) const {
    EXPECT_TRUE(WaitUntil([&] { return WorkerIsGone() || m_control->passes >= passes; }))
        << "the worker hangs";
}

// Until the worker that follows others has been through its loop a few times, or there is none.
void FaultTest::AwaitWorker(int workers_before) {
    EXPECT_TRUE(WaitUntil([&] {
        return m_control->workers_made > workers_before || !m_host->running();
    })) << "no worker is started";
    AwaitPasses(kPasses);
}

void FaultTest::RestartModule() {
    const int workers_before = m_control->workers_made;
    m_host->signal(SIGHUP);
    AwaitWorker(workers_before);
}

void FaultTest::Step() {
    StepToNextCycle();
    const fs::path step = installation().path("step");
    EXPECT_TRUE(WaitUntil([&] { return WorkerIsGone() || !fs::exists(step); }))
        << "no cycle is begun";
    fs::remove(step);
    AwaitPasses(m_control->passes + kPasses);
}

void FaultTest::Arm(long nth) {
    m_mirror_before = MirrorFile();
    std::snprintf(m_control->function, sizeof m_control->function, "%s", m_fault.function);
    m_control->error = m_fault.error;
    m_control->lasting = m_fault.reach == Reach::kFromHere;
    m_control->nth = nth;
    m_control->calls = 0;
    m_control->where[0] = '\0';
    m_control->armed = true;
}

long FaultTest::Disarm() const {
    m_control->armed = false;
    return m_control->calls;
}

std::string FaultTest::Circumstances(long nth) const {
    return "call " + std::to_string(nth) + " of " + m_fault.function + " failed with " +
           strerrorname_np(m_fault.error) + ":" + m_control->where;
}

long FaultTest::Restart(long nth) {
    Arm(nth);
    RestartModule();
    if (!WorkerIsGone()) {
        ChangeConfiguration();
        Ctl({"online", "--timeout", "1"});
        Step();
    }
    const long calls = Disarm();
    const testing::ScopedTrace trace(__FILE__, __LINE__, Circumstances(nth));
    CheckMirror();
    CheckId();
    if (!m_host->running()) {
        CheckEnd();
        StartFaultyHost();
        AwaitWorker(0);
    } else if (WorkerIsGone() || m_fault.reach == Reach::kWorker) {
        RestartModule();
    }
    CheckCalmCycle();
    CheckCalm();
    return calls;
}

long FaultTest::Launch(long nth) {
    fs::remove(installation().path("config/agent_id"));
    fs::remove(installation().path("config/server_port.ini"));
    Arm(nth);
    StartFaultyHost();
    AwaitWorker(0);
    m_host->signal(SIGTERM);
    EXPECT_TRUE(WaitUntil([&] { return !m_host->running(); })) << "the host does not end";
    const long calls = Disarm();
    const testing::ScopedTrace trace(__FILE__, __LINE__, Circumstances(nth));
    CheckEnd();
    CheckId();
    CheckMirror();
    return calls;
}

void FaultTest::Walk(const Fault& fault, const Run& run) {
    m_fault = fault;
    long injections = 0;
    for (long nth = 1; !HasFailure(); nth = Following(nth), ++injections) {
        if (m_runs++ % kRunsPerManager == 0) {
            StartAgent();
        }
        if (run(nth) < nth) {
            break;
        }
    }
    std::cout << fault.function << " " << strerrorname_np(fault.error) << ": " << injections
              << " injections\n";
    EXPECT_GT(injections, 0) << fault.function << " is not called";
}

void FaultTest::StopHost() {
    EXPECT_EQ(m_host->stop(), 0) << m_host->errors();
}

}  // namespace kxtest
