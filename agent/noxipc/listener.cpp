#include "listener.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "log.h"

namespace noxipc {

Listener::Pointer Listener::Make(uv_loop_t* loop, const std::string& name, const AccessRule& rule,
                                 OnConnection on_connection, int* error) {
    BusDirectory directory = BusDirectory::Make(rule, error);
    if (*error != 0) {
        return nullptr;
    }
    NameLock lock = NameLock::Take(directory.descriptor(), name, error);
    if (*error != 0) {
        return nullptr;
    }
    // From here on closing it frees it, the handle being in the loop.
    auto* made = new Listener(std::move(directory), std::move(lock), name + ".sock",
                              std::move(on_connection));
    made->pipe_.data = made;
    (void)uv_pipe_init(loop, &made->pipe_, 0);  // cannot fail
    Pointer listener(made);
    *error = listener->Listen(rule);
    return *error == 0 ? std::move(listener) : nullptr;
}

int Listener::Bind(int socket, const AccessRule& rule) {
    const int directory = directory_.descriptor();
    // Whoever bound it is dead, since the name's lock is ours.
    (void)unlinkat(directory, file_.c_str(), 0);
    const sockaddr_un address = directory_.Address(file_);
    if (bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
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

int Listener::Listen(const AccessRule& rule) {
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.valid()) {
        return errno;
    }
    int error = Bind(socket.get(), rule);
    if (error == 0) {
        // Bound by us and not by libuv, which knows only whole paths of the length of an address.
        error = -uv_pipe_open(&pipe_, socket.get());
    }
    if (error == 0) {
        (void)socket.Release();
        error = -uv_listen(reinterpret_cast<uv_stream_t*>(&pipe_), SOMAXCONN, OnPending);
    }
    return error;
}

void Listener::OnPending(uv_stream_t* stream, int status) {
    if (status < 0) {
        NOX_LOG(kLogError, "a connection cannot be accepted: %s", uv_strerror(status));
        return;
    }
    static_cast<Listener*>(stream->data)->on_connection_(stream);
}

void Listener::Close() {
    // The handle first, so that nobody connects to a name that is free already.
    uv_close(reinterpret_cast<uv_handle_t*>(&pipe_),
             [](uv_handle_t* handle) { delete static_cast<Listener*>(handle->data); });
    (void)unlinkat(directory_.descriptor(), file_.c_str(), 0);
    lock_.reset();
}

}  // namespace noxipc
