#include "failures.h"

#include <utility>

namespace noxipc {

Failures::Pointer Failures::Make(uv_loop_t* loop) {
    return Pointer(new Failures(loop));
}

Failures::Failures(uv_loop_t* loop) {
    (void)uv_idle_init(loop, &next_pass_);  // cannot fail
    next_pass_.data = this;
}

void Failures::Close() {
    waiting_.clear();
    delivering_.clear();
    uv_close(reinterpret_cast<uv_handle_t*>(&next_pass_),
             [](uv_handle_t* handle) { delete static_cast<Failures*>(handle->data); });
}

void Failures::Add(Requests::node_type request, int status) {
    request.mapped().status = status;
    waiting_.insert(std::move(request));
    (void)uv_idle_start(&next_pass_, OnPass);
}

void Failures::OnPass(uv_idle_t* idle) {
    static_cast<Failures*>(idle->data)->Deliver();
}

// A callback may make another request that fails at once; that one waits for the next pass. A
// callback may destroy the instance, which empties both maps.
void Failures::Deliver() {
    (void)uv_idle_stop(&next_pass_);
    delivering_ = std::exchange(waiting_, {});
    while (!delivering_.empty()) {
        const auto request = delivering_.extract(delivering_.begin());
        request.mapped().callback(request.mapped().status, 0, nullptr, 0, request.mapped().user);
    }
}

}  // namespace noxipc
