#include "stream.h"

#include <malloc.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "log.h"

namespace noxipc {
namespace {

// What the kernel keeps for a reader that is late. A frame that fits is handed over in one piece,
// without a copy of the rest and a wait for room. The system's limit may make it less.
constexpr int kSendBuffer = 1 << 20;

// The part of a frame that the socket did not take yet: one block, the request and its bytes behind
// it.
struct FreeWrite {
    void operator()(uv_write_t* write) const { std::free(write); }
};

char* BytesOf(uv_write_t* write) {
    return reinterpret_cast<char*>(write + 1);
}

// What such a block costs besides the bytes. A peer that leaves many short answers unread would
// otherwise make this process hold many times what is said to wait for it.
constexpr std::size_t kBlockCost = sizeof(uv_write_t) + 16;

// What a connection may take of a pass of the loop before others have their turn, however many
// bytes have come. It is looked at after each read.
constexpr uint64_t kTurn = 20'000'000;  // nanoseconds

// Bytes of short frames that are taken in at once, at least: a read that went past the end of the
// turn is followed by smaller ones.
constexpr std::size_t kLeastBite = 1024;

// A connection for which more than this has waited leaves a heap behind that is worth a look.
constexpr std::size_t kMuch = std::size_t{1} << 20U;

}  // namespace

// A failed write is not looked at: the peer is gone, and reading finds that out too, behind the
// last frame that the peer has sent.
void Stream::OnWritten(uv_write_t* request, int /*status*/) {
    --static_cast<Stream*>(request->handle->data)->waiting_blocks_;
    std::free(request);
}

// The C library keeps freed memory for later, up to all that a flood has taken, since what is in
// use lies in between.
void Stream::OnClosed(uv_handle_t* handle) {
    auto* const self = static_cast<Stream*>(handle->data);
    const bool held_much = self->held_much_;
    delete self;
    if (held_much) {
        (void)malloc_trim(0);
    }
}

int Stream::Open(Descriptor socket) {
    pipe_.data = this;
    int error = -uv_pipe_init(environment_.loop, &pipe_, 0);
    if (error == 0) {
        error = -uv_pipe_open(&pipe_, socket.get());
    }
    if (error == 0) {
        (void)socket.Release();
    }
    return error;
}

int Stream::StartReading() {
    is_reading_ = true;
    // Without it everything works all the same, in smaller pieces.
    (void)setsockopt(socket(), SOL_SOCKET, SO_SNDBUF, &kSendBuffer, sizeof kSendBuffer);
    return -uv_read_start(AsStream(), OnAllocate, OnRead);
}

int Stream::socket() const {
    uv_os_fd_t descriptor = -1;
    (void)uv_fileno(reinterpret_cast<const uv_handle_t*>(&pipe_), &descriptor);
    return descriptor;
}

bool Stream::IsHungUp() const {
    pollfd peer = {socket(), 0, 0};
    return poll(&peer, 1, 0) > 0;
}

void Stream::Drop() {
    if (ended_) {
        return;
    }
    ended_ = true;
    ForgetDeadline();
    if (next_turn_) {
        environment_.deadlines->Remove(*next_turn_);
        next_turn_.reset();
    }
    uv_close(AsHandle(), OnClosed);
}

void Stream::End() {
    if (!ended_) {
        Drop();
        OnEnd();
    }
}

void Stream::ForgetDeadline() {
    if (deadline_) {
        environment_.deadlines->Remove(*deadline_);
        deadline_.reset();
    }
}

void Stream::ExpectFrame() {
    ExpectFrameWithin(kFrameTimeoutMs);
}

void Stream::ExpectFrameWithin(uint64_t time_ms) {
    deadline_ = environment_.deadlines->Add(time_ms, [this] {
        deadline_.reset();
        if (IsHeldBack()) {  // the frame's end may have come and not been looked at
            LookAgain();
            return;
        }
        NOX_LOG(kLogError, "%s did not finish a frame in time, its connection ends", PeerName());
        End();
    });
}

void Stream::LookAgain() {
    try {
        ExpectFrameWithin(kLookAgainMs);
    } catch (const std::bad_alloc&) {
        End();
    }
}

// The deadline of an unfinished frame stands from its first byte on; other frames in between cannot
// be, so one that is there belongs to the frame that is being read.
void Stream::WatchUnfinishedFrame() {
    if (decoder_.InFrame() && !deadline_) {
        ExpectFrame();
    }
}

// libuv would read on while there is something to be read, many times over. It stops when a read
// has not filled its buffer.
void Stream::EndTurn(bool was_last) {
    const bool is_over = uv_hrtime() - turn_began_ >= kTurn;
    bite_ = is_over ? std::max(bite_ / 8, kLeastBite)
                    : std::min(bite_ * 2, environment_.scratch.size());
    if (is_over || was_last) {
        turn_began_ = 0;
    }
    if (!is_over) {
        return;
    }
    next_turn_ = environment_.deadlines->Add(0, [this] {
        next_turn_.reset();
        (void)uv_read_start(AsStream(), OnAllocate, OnRead);  // which it has done before
    });
    (void)uv_read_stop(AsStream());
}

void Stream::OnAllocate(uv_handle_t* handle, std::size_t /*suggested*/, uv_buf_t* buffer) {
    auto* self = static_cast<Stream*>(handle->data);
    std::span<char> space = self->decoder_.Space();
    if (space.empty()) {
        space = self->environment_.scratch.first(self->bite_);
    }
    buffer->base = space.data();
    buffer->len = space.size();
}

void Stream::OnRead(uv_stream_t* handle, ssize_t size, const uv_buf_t* buffer) {
    auto* self = static_cast<Stream*>(handle->data);
    if (size < 0) {
        self->OnReadFailure(static_cast<int>(-size));
        return;
    }
    if (size == 0) {
        self->turn_began_ = 0;
        return;  // there was nothing
    }
    const auto length = static_cast<std::size_t>(size);
    const bool was_last = length < buffer->len;
    self->turn_began_ = self->turn_began_ != 0 ? self->turn_began_ : uv_hrtime();
    try {
        if (buffer->base == self->environment_.scratch.data()) {
            self->OnBytes({buffer->base, length});
        } else {
            Frame frame;
            (void)self->HandleResult(self->decoder_.Filled(length, &frame), &frame);
        }
        if (!self->ended_) {
            self->WatchUnfinishedFrame();
            self->EndTurn(was_last);
        }
    } catch (const std::bad_alloc&) {
        self->OnReadFailure(ENOMEM);
    }
}

void Stream::OnReadFailure(int error) {
    if (!ended_ && error != -UV_EOF && error != ECONNRESET) {
        NOX_LOG(kLogError, "reading from %s failed: %s", PeerName(), std::strerror(error));
    }
    End();
}

void Stream::OnBytes(std::span<const char> bytes) {
    bool more = true;
    while (more && !ended_) {
        Frame frame;
        more = HandleResult(decoder_.Feed(&bytes, &frame), &frame) && !bytes.empty();
    }
}

// Whether a frame has come and the next bytes may be looked at, if the stream has not ended.
bool Stream::HandleResult(FrameDecoder::Result result, Frame* frame) {
    switch (result) {
        case FrameDecoder::Result::kFrame:
            ForgetDeadline();
            OnFrame(std::move(*frame));
            return true;
        case FrameDecoder::Result::kNeedMore:
            return false;
        case FrameDecoder::Result::kMalformed:
            NOX_LOG(kLogError, "%s sent a malformed frame, its connection ends", PeerName());
            break;
        case FrameDecoder::Result::kNoMemory:
            NOX_LOG(kLogError, "no memory for a frame of %s, its connection ends", PeerName());
            break;
    }
    End();
    return false;
}

int Stream::Send(const FrameHeader& header, const char* payload) {
    HeaderBytes bytes = Encode(header);
    const std::size_t total = bytes.size() + header.length;
    const std::size_t waiting = uv_stream_get_write_queue_size(AsStream());
    const std::size_t held = waiting + waiting_blocks_ * kBlockCost;
    held_much_ = held_much_ || held + total > kMuch;
    if (held + total > kMaxWaiting) {
        return ENOBUFS;
    }
    std::size_t sent = 0;
    if (waiting == 0) {
        const uv_buf_t buffers[] = {
            uv_buf_init(bytes.data(), static_cast<unsigned>(bytes.size())),
            // libuv's buffers are not const; what is written is only read.
            uv_buf_init(const_cast<char*>(payload), header.length),
        };
        const int written = uv_try_write(AsStream(), buffers, header.length > 0 ? 2 : 1);
        if (written < 0 && written != UV_EAGAIN) {
            return -written;
        }
        sent = static_cast<std::size_t>(std::max(written, 0));
    }
    if (sent == total) {
        return 0;
    }
    const std::size_t header_sent = std::min(sent, bytes.size());
    const std::size_t payload_sent = sent - header_sent;
    const int error = SendLater(bytes.data() + header_sent, bytes.size() - header_sent,
                                payload + payload_sent, header.length - payload_sent);
    if (error != 0 && sent > 0) {
        End();  // the peer would take the next frame for the rest of this one
    }
    return error;
}

int Stream::SendLater(const char* header, std::size_t header_size, const char* payload,
                      std::size_t payload_size) {
    const std::size_t size = header_size + payload_size;
    std::unique_ptr<uv_write_t, FreeWrite> write(
        static_cast<uv_write_t*>(std::malloc(sizeof(uv_write_t) + size)));
    if (write == nullptr) {
        return ENOMEM;
    }
    char* const bytes = BytesOf(write.get());
    std::copy_n(payload, payload_size, std::copy_n(header, header_size, bytes));
    const uv_buf_t buffer = uv_buf_init(bytes, static_cast<unsigned>(size));
    const int error = uv_write(write.get(), AsStream(), &buffer, 1, OnWritten);
    if (error != 0) {
        return -error;
    }
    ++waiting_blocks_;
    (void)write.release();  // OnWritten frees it, also when the stream is closed before
    return 0;
}

}  // namespace noxipc
