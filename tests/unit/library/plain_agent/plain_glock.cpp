// Another named lock, which knows of this process alone.
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>

#include "handles.h"
#include "kxe_glock.h"
#include "watch.h"

using plain::Call;

struct kxe_glock {
    std::string name;
};

namespace {

constexpr char kLock[] = "lock";

std::mutex mutex;
std::condition_variable released;
std::map<std::string, const kxe_glock*> holders;

void Release(const kxe_glock* lock) {
    const std::lock_guard guard(mutex);
    const auto holder = holders.find(lock->name);
    if (holder != holders.end() && holder->second == lock) {
        holders.erase(holder);
        released.notify_all();
    }
}

}  // namespace

int kxe_glock_init(const char* name, kxe_glock** lock) {
    Call call("kxe_glock_init");
    if (call.MustFail()) {
        return EMFILE;
    }
    *lock = new kxe_glock{name};
    plain::HandOut(*lock, kLock);
    return 0;
}

int kxe_glock_acquire_timeout(kxe_glock* lock, unsigned timeout_ms) {
    Call call("kxe_glock_acquire_timeout");
    if (!plain::IsOut(lock, kLock, "kxe_glock_acquire_timeout")) {
        return EINVAL;
    }
    if (call.MustFail()) {
        return ETIMEDOUT;
    }
    std::unique_lock guard(mutex);
    const auto is_free = [&] { return !holders.contains(lock->name); };
    if (!released.wait_for(guard, std::chrono::milliseconds(timeout_ms), is_free)) {
        return ETIMEDOUT;
    }
    holders[lock->name] = lock;
    return 0;
}

void kxe_glock_release(kxe_glock* lock) {
    const Call call("kxe_glock_release");
    if (plain::IsOut(lock, kLock, "kxe_glock_release")) {
        Release(lock);
    }
}

void kxe_glock_destroy(kxe_glock* lock) {
    const Call call("kxe_glock_destroy");
    if (lock != nullptr && plain::TakeBack(lock, kLock, "kxe_glock_destroy")) {
        Release(lock);
        delete lock;
    }
}
