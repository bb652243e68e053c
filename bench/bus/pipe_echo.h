// The least that an echo between two event loops costs: libuv over a pair of connected sockets, a
// length in front of the data, one buffer that is never copied.
#ifndef KXEPINFO_BENCH_BUS_PIPE_ECHO_H
#define KXEPINFO_BENCH_BUS_PIPE_ECHO_H

#include <uv.h>

#include <cstddef>
#include <string>
#include <vector>

// One end: a message goes out, then one comes in, and so on. Ends the program when that fails.
class PipeEnd {
  public:
    // Takes the descriptor over. What it is given is called for each message that has come in.
    PipeEnd(int descriptor, void (*on_message)(PipeEnd&));
    PipeEnd(const PipeEnd&) = delete;
    PipeEnd& operator=(const PipeEnd&) = delete;

    // `data` stays as it is until the next message has come in.
    void Send(const char* data, std::size_t size);

    // The one that has come in last, until the next begins.
    const char* message() const;
    std::size_t size() const { return size_; }

    // Waits for one event and handles it.
    void RunOnce() { (void)uv_run(&loop_, UV_RUN_ONCE); }

  private:
    static void GiveBuffer(uv_handle_t* handle, std::size_t size, uv_buf_t* buffer);
    static void OnRead(uv_stream_t* stream, ssize_t count, const uv_buf_t* buffer);
    void Receive(std::size_t count);

    uv_loop_t loop_;
    uv_pipe_t pipe_;
    uv_write_t rest_;  // of what the socket did not take at once
    void (*on_message_)(PipeEnd&);
    std::vector<char> buffer_;
    std::size_t received_ = 0;
    std::size_t size_ = 0;
};

// Sends back what comes to `descriptor`, until the process is ended.
[[noreturn]] void ServePipe(int descriptor);

class PipeClient {
  public:
    // Takes the descriptor over.
    explicit PipeClient(int descriptor);

    // As BusClient.
    void RoundTrips(const std::string& payload, int count);

    // As UploadClient.
    double SendTime(const std::string& payload, int count);

  private:
    void WaitForAnswer(const std::string& payload);

    PipeEnd end_;
};

#endif  // KXEPINFO_BENCH_BUS_PIPE_ECHO_H
