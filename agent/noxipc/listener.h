// The socket under an instance's name.
#ifndef NOXIPC_LISTENER_H
#define NOXIPC_LISTENER_H

#include <uv.h>

#include <functional>
#include <memory>
#include <string>

#include "access_rule.h"
#include "bus_directory.h"
#include "name_lock.h"

namespace noxipc {

// Holds the name from Make until Close, which gives name and socket up at once. The memory follows
// in a pass of the loop.
class Listener {
  public:
    struct CloseNow {
        void operator()(Listener* listener) const { listener->Close(); }
    };
    using Pointer = std::unique_ptr<Listener, CloseNow>;

    // `on_connection` must accept one connection from the stream it is given, and must not throw.
    using OnConnection = std::function<void(uv_stream_t*)>;

    // Null on failure; *error is then an errno value, EADDRINUSE when a living instance has the
    // name. Throws std::bad_alloc.
    static Pointer Make(uv_loop_t* loop, const std::string& name, const AccessRule& rule,
                        OnConnection on_connection, int* error);

  private:
    Listener(BusDirectory directory, NameLock lock, std::string file, OnConnection on_connection)
        : directory_(std::move(directory)),
          lock_(std::make_unique<NameLock>(std::move(lock))),
          file_(std::move(file)),
          on_connection_(std::move(on_connection)) {}
    ~Listener() = default;
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    int Listen(const AccessRule& rule);
    int Bind(int socket, const AccessRule& rule);
    void Close();
    static void OnPending(uv_stream_t* stream, int status);

    BusDirectory directory_;
    std::unique_ptr<NameLock> lock_;  // released before the directory is closed
    std::string file_;
    OnConnection on_connection_;
    uv_pipe_t pipe_ = {};
};

}  // namespace noxipc

#endif  // NOXIPC_LISTENER_H
