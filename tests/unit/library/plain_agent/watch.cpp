#include "watch.h"

#include <cerrno>
#include <map>
#include <mutex>

namespace {

struct Fault {
    std::string function;
    int number = 0;
    bool happened = false;
};

std::mutex mutex;  // guards all that follows
std::map<std::string, int> counts;
std::vector<std::string> calls;
std::vector<std::string> breaches;
Fault fault;

thread_local bool on_worker = false;

bool CountCall(const char* function) {
    const std::lock_guard lock(mutex);
    const int number = ++counts[function];
    if (fault.function != function || fault.number != number) {
        return false;
    }
    fault.happened = true;
    return true;
}

}  // namespace

namespace plain {

WorkerMark::WorkerMark() {
    on_worker = true;
}

WorkerMark::~WorkerMark() {
    on_worker = false;
}

Call::Call(const char* function, Thread thread) : m_must_fail(CountCall(function)) {
    if (thread == Thread::kAny) {
        return;
    }
    if (!on_worker) {
        Breach(std::string(function) + " is called on another thread than the worker");
    }
    const std::lock_guard lock(mutex);
    calls.emplace_back(function);
}

Call::~Call() {
    errno = m_errno;
}

bool Call::MustFail(int error) {
    if (m_must_fail) {
        m_errno = error;
    }
    return m_must_fail;
}

void Breach(const std::string& what) {
    const std::lock_guard lock(mutex);
    breaches.push_back(what);
}

std::vector<std::string> Breaches() {
    const std::lock_guard lock(mutex);
    return breaches;
}

std::vector<std::string> Calls() {
    const std::lock_guard lock(mutex);
    return calls;
}

void LetFail(const std::string& function, int number) {
    const std::lock_guard lock(mutex);
    fault = {function, number, false};
}

bool HasFailed() {
    const std::lock_guard lock(mutex);
    return fault.happened;
}

void ResetWatch() {
    const std::lock_guard lock(mutex);
    counts.clear();
    calls.clear();
    breaches.clear();
    fault = {};
}

}  // namespace plain
