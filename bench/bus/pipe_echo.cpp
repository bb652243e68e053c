#include "pipe_echo.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "cycle_meter.h"
#include "report.h"

namespace {

using Length = std::uint32_t;

constexpr std::size_t kLargest = std::size_t{16} << 20U;

bool has_answer;

void Require(bool done) {
    if (!done) {
        kxbench::Fail("a round trip over the bare pair failed");
    }
}

}  // namespace

PipeEnd::PipeEnd(int descriptor, void (*on_message)(PipeEnd&))
    : loop_(),
      pipe_(),
      rest_(),
      on_message_(on_message),
      // One byte more, so that reading never stops for want of room.
      buffer_(sizeof(Length) + kLargest + 1) {
    Require(uv_loop_init(&loop_) == 0 && uv_pipe_init(&loop_, &pipe_, 0) == 0 &&
            uv_pipe_open(&pipe_, descriptor) == 0);
    pipe_.data = this;
    Require(uv_read_start(reinterpret_cast<uv_stream_t*>(&pipe_), GiveBuffer, OnRead) == 0);
}

const char* PipeEnd::message() const {
    return buffer_.data() + sizeof(Length);
}

void PipeEnd::Send(const char* data, std::size_t size) {
    auto length = static_cast<Length>(size);
    uv_buf_t parts[2] = {
        uv_buf_init(reinterpret_cast<char*>(&length), sizeof length),
        uv_buf_init(const_cast<char*>(data), static_cast<unsigned>(size)),
    };
    auto* const stream = reinterpret_cast<uv_stream_t*>(&pipe_);
    const int sent = uv_try_write(stream, parts, 2);
    Require(sent > static_cast<int>(sizeof length));
    const std::size_t done = static_cast<std::size_t>(sent) - sizeof length;
    if (done < size) {
        const uv_buf_t left =
            uv_buf_init(const_cast<char*>(data) + done, static_cast<unsigned>(size - done));
        Require(uv_write(&rest_, stream, &left, 1,
                         [](uv_write_t*, int status) { Require(status == 0); }) == 0);
    }
}

void PipeEnd::GiveBuffer(uv_handle_t* handle, std::size_t /*size*/, uv_buf_t* buffer) {
    auto& end = *static_cast<PipeEnd*>(handle->data);
    *buffer = uv_buf_init(end.buffer_.data() + end.received_,
                          static_cast<unsigned>(end.buffer_.size() - end.received_));
}

void PipeEnd::OnRead(uv_stream_t* stream, ssize_t count, const uv_buf_t* /*buffer*/) {
    Require(count >= 0);
    static_cast<PipeEnd*>(stream->data)->Receive(static_cast<std::size_t>(count));
}

void PipeEnd::Receive(std::size_t count) {
    received_ += count;
    Length length = 0;
    if (received_ < sizeof length) {
        return;
    }
    std::memcpy(&length, buffer_.data(), sizeof length);
    Require(length <= kLargest);
    if (received_ < sizeof length + length) {
        return;
    }
    received_ = 0;
    size_ = length;
    on_message_(*this);
}

void ServePipe(int descriptor) {
    PipeEnd end(descriptor, [](PipeEnd& self) { self.Send(self.message(), self.size()); });
    for (;;) {
        end.RunOnce();
    }
}

PipeClient::PipeClient(int descriptor)
    : end_(descriptor, [](PipeEnd& /*self*/) { has_answer = true; }) {}

void PipeClient::RoundTrips(const std::string& payload, int count) {
    for (int i = 0; i < count; ++i) {
        end_.Send(payload.data(), payload.size());
        WaitForAnswer(payload);
    }
}

double PipeClient::SendTime(const std::string& payload, int count) {
    double spent = 0;
    for (int i = 0; i < count; ++i) {
        const double begin = kxbench::Now();
        end_.Send(payload.data(), payload.size());
        spent += kxbench::Now() - begin;
        WaitForAnswer(payload);
    }
    return spent / count;
}

void PipeClient::WaitForAnswer(const std::string& payload) {
    has_answer = false;
    while (!has_answer) {
        end_.RunOnce();
    }
    Require(end_.size() == payload.size() &&
            std::memcmp(end_.message(), payload.data(), payload.size()) == 0);
}
