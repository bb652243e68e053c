#include "upload_client.h"

#include <unistd.h>

#include "cl_ev.h"
#include "cycle_meter.h"
#include "report.h"

namespace {

constexpr int kUpload = 0;
constexpr int kAttempts = 1000;
constexpr useconds_t kPause = 10000;

}  // namespace

UploadClient::UploadClient() {
    if (ipc_.IpcInit() != 0) {
        kxbench::Fail("the bus does not take the module's endpoint");
    }
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        Send("hello");
        WaitForAnswer();
        if (status_ == 0) {
            return;
        }
        (void)usleep(kPause);
    }
    kxbench::Fail("nobody answers uploads");
}

double UploadClient::SendTime(const std::string& payload, int count) {
    double spent = 0;
    for (int i = 0; i < count; ++i) {
        const double begin = kxbench::Now();
        Send(payload);
        spent += kxbench::Now() - begin;
        WaitForAnswer();
        if (status_ != 0) {
            kxbench::Fail("an upload was not answered");
        }
    }
    return spent / count;
}

void UploadClient::Send(const std::string& payload) {
    answered_ = false;
    if (ipc_.IpcSendMsg(kUpload, payload.data(), static_cast<unsigned>(payload.size()), OnResponse,
                        this) != 0) {
        kxbench::Fail("an upload was not handed over");
    }
}

void UploadClient::WaitForAnswer() {
    while (!answered_) {
        (void)cl_event_loop_once();
    }
}

void UploadClient::OnResponse(int status, unsigned /*type*/, const char* /*data*/, unsigned /*len*/,
                              void* user) {
    auto* const client = static_cast<UploadClient*>(user);
    client->answered_ = true;
    client->status_ = status;
}
