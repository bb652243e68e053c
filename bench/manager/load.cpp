#include "load.h"

#include <unistd.h>

#include <algorithm>
#include <string>

#include "cl_ev.h"
#include "nox_ipc.h"
#include "report.h"
#include "upload.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kTimeoutSeconds = 30;  // more than the module's 5: what is slow is to be seen
constexpr int kMostTries = 500;
constexpr useconds_t kPause = 10000;

struct Release {
    void operator()(nox_ipc_st* ipc) const { nox_ipc_destroy(ipc); }
    void operator()(nox_addr_st* address) const { nox_addr_destroy(address); }
};

}  // namespace

// One agent.
class Load::Sender {
  public:
    explicit Sender(unsigned agent)
        : agent_(agent),
          ipc_(nox_ipc_create(("load_" + std::to_string(agent)).c_str(), 0)),
          manager_(nox_addr_create("mgr_ei", 0, 0)) {
        if (ipc_ == nullptr || manager_ == nullptr) {
            kxbench::Fail("the bus does not take an agent");
        }
    }

    // From the event loop the answer comes.
    void Send() {
        const std::string upload = MakeUpload(agent_, number_++);
        waiting_ = true;
        sent_ = Clock::now();
        if (nox_ipc_make_request(ipc_.get(), manager_.get(), 0, upload.data(),
                                 static_cast<unsigned>(upload.size()), OnAnswer, this,
                                 kTimeoutSeconds) != 0) {
            kxbench::Fail("an upload cannot be sent");
        }
    }

    // From now on each answer is followed by the next upload, until the deadline.
    void Begin(Clock::time_point deadline, std::vector<double>& times) {
        deadline_ = deadline;
        times_ = &times;
        Send();
    }

    bool is_waiting() const { return waiting_; }
    bool was_accepted() const { return accepted_; }

  private:
    static void OnAnswer(int status, unsigned /*type*/, const char* data, unsigned len,
                         void* user) {
        auto& self = *static_cast<Sender*>(user);
        const std::chrono::duration<double, std::micro> time = Clock::now() - self.sent_;
        self.waiting_ = false;
        self.accepted_ = status == 0 && IsAccepted({data, len});
        if (self.times_ == nullptr) {
            return;
        }
        if (!self.accepted_) {
            kxbench::Fail(std::string("an upload was not accepted: ") + nox_ipc_strerror(status));
        }
        self.times_->push_back(time.count());
        if (Clock::now() < self.deadline_) {
            self.Send();
        }
    }

    unsigned agent_;
    unsigned number_ = 0;
    std::unique_ptr<nox_ipc_st, Release> ipc_;
    std::unique_ptr<nox_addr_st, Release> manager_;
    Clock::time_point sent_;
    Clock::time_point deadline_;
    std::vector<double>* times_ = nullptr;
    bool waiting_ = false;
    bool accepted_ = false;
};

Load::Load(unsigned agents) {
    for (unsigned agent = 1; agent <= agents; ++agent) {
        senders_.push_back(std::make_unique<Sender>(agent));
    }
    Sender& first = *senders_.front();
    for (int i = 0; !first.was_accepted(); ++i) {
        if (i == kMostTries) {
            kxbench::Fail("the manager does not answer");
        }
        (void)usleep(kPause);
        first.Send();
        while (first.is_waiting()) {
            (void)cl_event_loop_once();
        }
    }
}

Load::~Load() = default;

std::vector<double> Load::Run(std::chrono::milliseconds time) {
    std::vector<double> times;
    const Clock::time_point deadline = Clock::now() + time;
    for (const auto& sender : senders_) {
        sender->Begin(deadline, times);
    }
    while (std::any_of(senders_.begin(), senders_.end(),
                       [](const auto& sender) { return sender->is_waiting(); })) {
        (void)cl_event_loop_once();
    }
    return times;
}
