#include "error_stream.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace autolog {
namespace {

// Keeps SIGPIPE from the process while it lives, and swallows the one that a write of this thread
// raised meanwhile.
class PipeSignalHeld {
  public:
    PipeSignalHeld() {
        sigset_t pending;
        sigemptyset(&pipe_);
        sigaddset(&pipe_, SIGPIPE);
        (void)sigpending(&pending);
        already_pending_ = sigismember(&pending, SIGPIPE) == 1;
        (void)pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
    }
    ~PipeSignalHeld() {
        if (!already_pending_) {
            const timespec at_once = {};
            (void)sigtimedwait(&pipe_, nullptr, &at_once);
        }
        (void)pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    PipeSignalHeld(const PipeSignalHeld&) = delete;
    PipeSignalHeld& operator=(const PipeSignalHeld&) = delete;

  private:
    sigset_t pipe_;
    sigset_t before_;
    bool already_pending_;
};

}  // namespace

void ErrorStream::sink_it_(const spdlog::details::log_msg& message) {
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    const PipeSignalHeld held;
    ssize_t written = 0;
    do {
        written = write(STDERR_FILENO, line.data(), line.size());
    } while (written < 0 && errno == EINTR);
    // There is no other place to tell about a failure.
    (void)written;
}

}  // namespace autolog
