#include "listener.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include "log.h"

namespace noxipc {
namespace {

constexpr int kMostAtOnce = 64;  // then the connections that are there get their turn
constexpr uint64_t kPauseMs = 100;

constexpr int kTakeAttempts = 21;
constexpr useconds_t kTakePause = 2500;  // microseconds

// A process that was killed while it started a child may leave the lock to that child for the
// moment until it runs its program, and then whoever is started in its place must not be refused.
NameLock TakeName(int directory, const std::string& name, int* error) {
    for (int attempt = 1;; ++attempt) {
        NameLock lock = NameLock::Take(directory, name, error);
        if (*error != EADDRINUSE || attempt == kTakeAttempts) {
            return lock;
        }
        (void)usleep(kTakePause);
    }
}

}  // namespace

Listener::Pointer Listener::Make(uv_loop_t* loop, const std::string& name, const AccessRule& rule,
                                 OnConnection on_connection, int* error) {
    BusDirectory directory = BusDirectory::Make(rule, error);
    if (*error != 0) {
        return nullptr;
    }
    NameLock lock = TakeName(directory.descriptor(), name, error);
    if (*error != 0) {
        return nullptr;
    }
    // From here on closing it frees it.
    Pointer listener(new Listener(std::move(directory), std::move(lock), name + ".sock",
                                  std::move(on_connection)));
    *error = listener->Listen(loop, rule);
    return *error == 0 ? std::move(listener) : nullptr;
}

int Listener::Bind(const AccessRule& rule) {
    const int directory = directory_.descriptor();
    // Whoever bound it is dead, since the name's lock is ours.
    (void)unlinkat(directory, file_.c_str(), 0);
    const sockaddr_un address = directory_.Address(file_);
    if (bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return errno;
    }
    const bool for_group = !rule.allowed().empty();
    if (for_group && fchownat(directory, file_.c_str(), static_cast<uid_t>(-1),
                              rule.allowed().front(), AT_SYMLINK_NOFOLLOW) != 0) {
        NOX_LOG(kLogError, "%s cannot be given to group %u: %s", file_.c_str(),
                rule.allowed().front(), std::strerror(errno));
    }
    return fchmodat(directory, file_.c_str(), for_group ? 0660 : 0600, 0) != 0 ? errno : 0;
}

// Watched by us and not as a stream of libuv's, which would never accept again after a connection
// for which there was no memory, and would try for ever while there is no descriptor for one.
int Listener::Listen(uv_loop_t* loop, const AccessRule& rule) {
    (void)uv_timer_init(loop, &pause_);  // cannot fail
    pause_.data = this;
    ++open_handles_;
    socket_ = Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket_.valid()) {
        return errno;
    }
    if (const int error = Bind(rule); error != 0) {
        return error;
    }
    if (listen(socket_.get(), SOMAXCONN) != 0) {
        return errno;
    }
    if (const int error = uv_poll_init(loop, &poll_, socket_.get()); error != 0) {
        return -error;
    }
    poll_.data = this;
    ++open_handles_;
    Watch();
    return 0;
}

void Listener::Watch() {
    (void)uv_poll_start(&poll_, UV_READABLE, OnPending);  // cannot fail
}

void Listener::OnPending(uv_poll_t* poll, int /*status*/, int /*events*/) {
    static_cast<Listener*>(poll->data)->AcceptSome();
}

void Listener::AcceptSome() {
    for (int i = 0; i < kMostAtOnce; ++i) {
        Descriptor accepted(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        const int error = accepted.valid() ? 0 : errno;
        if (error == EAGAIN) {
            return;
        }
        if (error == 0) {
            failing_ = false;
            on_connection_(std::move(accepted));
        } else if (error != EINTR && error != ECONNABORTED) {
            Pause(error);
            return;
        }
    }
}

void Listener::Pause(int error) {
    if (!std::exchange(failing_, true)) {
        NOX_LOG(kLogError, "a connection cannot be accepted: %s", std::strerror(error));
    }
    (void)uv_poll_stop(&poll_);
    (void)uv_timer_start(
        &pause_, [](uv_timer_t* timer) { static_cast<Listener*>(timer->data)->Watch(); }, kPauseMs,
        0);
}

void Listener::CloseHandle(uv_handle_t* handle) {
    uv_close(handle, [](uv_handle_t* closed) {
        auto* const self = static_cast<Listener*>(closed->data);
        if (--self->open_handles_ == 0) {
            delete self;
        }
    });
}

void Listener::Close() {
    if (poll_.data != nullptr) {
        CloseHandle(reinterpret_cast<uv_handle_t*>(&poll_));
    }
    CloseHandle(reinterpret_cast<uv_handle_t*>(&pause_));
    // The socket first, so that nobody connects to a name that is free already.
    socket_.Reset();
    (void)unlinkat(directory_.descriptor(), file_.c_str(), 0);
    lock_.reset();
}

}  // namespace noxipc
