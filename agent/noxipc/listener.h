// The socket under an instance's name.
#ifndef NOXIPC_LISTENER_H
#define NOXIPC_LISTENER_H

#include <uv.h>

#include <functional>
#include <memory>
#include <string>

#include "access_rule.h"
#include "bus_directory.h"
#include "descriptor.h"
#include "name_lock.h"

namespace noxipc {

// Holds the name from Make until Close, which gives name and socket up at once. The memory follows
// in a pass of the loop.
//
// While the process has no descriptor or memory for a connection, those that come wait, and are
// tried again ten times a second.
class Listener {
  public:
    struct CloseNow {
        void operator()(Listener* listener) const { listener->Close(); }
    };
    using Pointer = std::unique_ptr<Listener, CloseNow>;

    // Takes over a connection that was accepted. Must neither throw nor close the listener.
    using OnConnection = std::function<void(Descriptor)>;

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

    int Listen(uv_loop_t* loop, const AccessRule& rule);
    int Bind(const AccessRule& rule);
    void Watch();
    void AcceptSome();
    void Pause(int error);
    void Close();
    void CloseHandle(uv_handle_t* handle);
    static void OnPending(uv_poll_t* poll, int status, int events);

    BusDirectory directory_;
    std::unique_ptr<NameLock> lock_;  // released before the directory is closed
    std::string file_;
    OnConnection on_connection_;
    Descriptor socket_;
    uv_poll_t poll_ = {};
    uv_timer_t pause_ = {};  // runs after a failure, instead of poll_
    int open_handles_ = 0;   // in the loop
    bool failing_ = false;   // told in the log already
};

}  // namespace noxipc

#endif  // NOXIPC_LISTENER_H
