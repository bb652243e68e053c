// An agent that sends what it is told: reads uploads from standard input, each the JSON form of an
// epinfo message on a line, and prints "STATUS DUPLICATE" for the answer to each before it reads
// the next. Ends with 1 at a line that is no upload, or when the manager is lost.
#include <google/protobuf/util/json_util.h>

#include <cstdlib>
#include <ctime>
#include <iostream>
#include <string>

#include "cl_ev.h"
#include "common/complain.h"
#include "common/frame.h"
#include "common/service.h"
#include "epinfo.pb.h"

namespace {

constexpr int kTimeoutS = 60;

struct Outcome {
    bool come = false;
    bool lost = false;
    bf_kxepinfo::epinfo_msg_respone answer;
};

void OnAnswer(int status, unsigned, const char* data, unsigned len, void* user) {
    Outcome& outcome = *static_cast<Outcome*>(user);
    outcome.come = true;
    std::string fault;
    const auto payload =
        kxapp::PayloadOfFrame(status == 0 ? std::string_view(data, len) : "", fault);
    outcome.lost = !payload || !outcome.answer.ParseFromArray(payload->data(),
                                                              static_cast<int>(payload->size()));
}

bool Send(nox_ipc_st* bus, const nox_addr_st* manager, const std::string& line) {
    bf_kxepinfo::epinfo upload;
    if (!google::protobuf::util::JsonStringToMessage(line, &upload).ok()) {
        kxapp::Complain("no upload: %s", line.c_str());
        return false;
    }
    upload.set_agent_timestamp(static_cast<std::uint64_t>(std::time(nullptr)));
    const std::string frame = kxapp::MakeFrame(upload.SerializeAsString());
    Outcome outcome;
    (void)nox_ipc_make_request(bus, manager, 0, frame.data(), static_cast<unsigned>(frame.size()),
                               OnAnswer, &outcome, kTimeoutS);
    while (!outcome.come) {
        (void)cl_event_loop_once();
    }
    return !outcome.lost && kxapp::WriteOut(std::to_string(outcome.answer.status()) + " " +
                                            std::to_string(outcome.answer.duplicate()) + "\n");
}

}  // namespace

int main() {
    const kxapp::Bus bus = kxapp::JoinBus("agt_ei");
    const kxapp::Address manager = kxapp::AddressOf("mgr_ei");
    for (std::string line; bus != nullptr && std::getline(std::cin, line);) {
        if (!Send(bus.get(), manager.get(), line)) {
            return EXIT_FAILURE;
        }
    }
    return bus != nullptr ? EXIT_SUCCESS : EXIT_FAILURE;
}
