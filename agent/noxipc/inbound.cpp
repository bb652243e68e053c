#include "inbound.h"

#include <cstring>
#include <utility>

#include "instance.h"
#include "log.h"

namespace noxipc {

Inbound* Inbound::Make(nox_ipc_st* instance, const StreamEnvironment& environment) {
    return new Inbound(instance, environment);
}

int Inbound::Start() {
    ExpectFrame();
    return StartReading();
}

const char* Inbound::PeerName() const {
    return from_ == nullptr ? "a peer without a name" : nox_addr_name(from_.get());
}

void Inbound::OnHello(const Frame& frame) {
    if (frame.header.kind == Kind::kHello && from_ == nullptr) {
        from_.reset(nox_addr_create(frame.payload.get(), 0, 0));
        // A name with a zero byte in it would have been taken for a shorter one.
        if (from_ != nullptr && std::strlen(frame.payload.get()) == frame.header.length) {
            return;
        }
    }
    NOX_LOG(kLogError, "%s did not greet as it must, its connection ends", PeerName());
    End();
}

// In each case nothing follows the call of the instance, whose callback may destroy it.
void Inbound::OnFrame(Frame frame) {
    if (from_ == nullptr || frame.header.kind == Kind::kHello) {
        OnHello(frame);
        return;
    }
    switch (frame.header.kind) {
        case Kind::kRequest:
            instance_->OnRequest(this, Hold(from_.get()), std::move(frame));
            break;
        case Kind::kMessage:
            instance_->OnMessage(Hold(from_.get()), std::move(frame));
            break;
        default:
            NOX_LOG(kLogInformation, "a response of %s, which was not asked, is dropped",
                    PeerName());
            break;
    }
}

void Inbound::OnEnd() {
    instance_->Forget(this);
}

}  // namespace noxipc
