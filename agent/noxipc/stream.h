// One connection: frames in, frames out.
#ifndef NOXIPC_STREAM_H
#define NOXIPC_STREAM_H

#include <uv.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "deadlines.h"
#include "descriptor.h"
#include "nox_frame.h"

namespace noxipc {

// Bytes, and what it costs to keep them.
inline constexpr std::size_t kMaxWaiting = std::size_t{32} << 20U;
inline constexpr uint64_t kFrameTimeoutMs = 5000;
inline constexpr uint64_t kLookAgainMs = 1;  // at a time-out of a stream that is held back

// What the connections of one instance share. Outlives them until they are dropped.
struct StreamEnvironment {
    uv_loop_t* loop;
    Deadlines* deadlines;
    std::span<char> scratch;  // for what is read, for the time of one callback
};

// Frees itself in a pass of the loop after End or Drop, so it may be used to its end by a caller
// whose callback has ended it.
class Stream {
  public:
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    // Sends a frame, header.length bytes of payload: at once what the socket takes, the rest when
    // it takes more. Returns 0; ENOBUFS when kMaxWaiting bytes would wait; ENOMEM; EPIPE when the
    // peer is gone; another errno value of the socket. After a failure nothing of the frame was
    // sent, except that after ENOMEM in the middle of one the connection has ended.
    int Send(const FrameHeader& header, const char* payload);

    // Ends the connection and tells the derived class. Once; later calls do nothing.
    void End();

    // Ends the connection without telling anybody.
    void Drop();

    bool ended() const { return ended_; }

    // Whether what has come is not read just now, so that nothing can be said of what has not.
    bool IsHeldBack() const { return next_turn_ || !is_reading_; }

    // Whether the peer has closed its end. There may still be frames of its to be read.
    bool IsHungUp() const;

  protected:
    explicit Stream(const StreamEnvironment& environment) : environment_(environment) {}
    virtual ~Stream() = default;

    // Takes the socket over. Comes first, once; after a failure the stream must be ended. Returns 0
    // or an errno value.
    int Open(Descriptor socket);

    // Starts to read, and gets ready to write much at once. Returns 0 or an errno value.
    int StartReading();
    bool IsReading() const { return is_reading_; }

    // The connection ends unless a frame is complete in time.
    void ExpectFrame();

    int socket() const;

    // A frame has come. May do anything, even end this stream or destroy the instance.
    virtual void OnFrame(Frame frame) = 0;

    // The connection has ended; no other call follows.
    virtual void OnEnd() = 0;

    // Who is at the other end, for the log.
    virtual const char* PeerName() const = 0;

  private:
    uv_stream_t* AsStream() { return reinterpret_cast<uv_stream_t*>(&pipe_); }
    uv_handle_t* AsHandle() { return reinterpret_cast<uv_handle_t*>(&pipe_); }

    void OnBytes(std::span<const char> bytes);
    bool HandleResult(FrameDecoder::Result result, Frame* frame);
    void WatchUnfinishedFrame();
    void ForgetDeadline();
    void ExpectFrameWithin(uint64_t time_ms);
    void LookAgain();
    void EndTurn(bool was_last);
    void OnReadFailure(int error);
    int SendLater(const char* header, std::size_t header_size, const char* payload,
                  std::size_t payload_size);
    static void OnWritten(uv_write_t* request, int status);
    static void OnClosed(uv_handle_t* handle);
    static void OnAllocate(uv_handle_t* handle, std::size_t suggested, uv_buf_t* buffer);
    static void OnRead(uv_stream_t* handle, ssize_t size, const uv_buf_t* buffer);

    StreamEnvironment environment_;
    uv_pipe_t pipe_ = {};
    FrameDecoder decoder_;
    std::optional<Deadlines::Entry> deadline_;
    std::optional<Deadlines::Entry> next_turn_;  // of reading, which has been stopped for it
    std::size_t waiting_blocks_ = 0;             // parts of frames that the socket did not take yet
    bool held_much_ = false;                     // at any time
    bool is_reading_ = false;                    // has begun to
    uint64_t turn_began_ = 0;                    // of reading, uv_hrtime; 0 between two turns
    // Bytes of short frames that are read at once.
    std::size_t bite_ = environment_.scratch.size();
    bool ended_ = false;
};

}  // namespace noxipc

#endif  // NOXIPC_STREAM_H
