// Uploads to the manager, numbered, from a made-up machine:
//
//   upload_sender MACHINE FIRST COUNT [NAME]
//
// MACHINE is 1 to 9. COUNT 0 means until the manager goes away. NAME is the sender's on the bus;
// without one it has the module's.
//
// Prints "NUMBER STATUS DUPLICATE" for each answer, and "lost" when the manager went away. Some
// uploads are always on their way, so that the manager is never idle. The number is the upload's
// agent_timestamp, and its processor figure.
#include <cstdlib>
#include <deque>

#include "cl_ev.h"
#include "common/complain.h"
#include "common/frame.h"
#include "common/service.h"
#include "epinfo.pb.h"

namespace {

constexpr std::size_t kOnTheirWay = 4;
constexpr std::uint32_t kAgents = 3;
constexpr int kTimeoutS = 60;

std::string UploadNumber(std::uint32_t number, const std::string& machine) {
    bf_kxepinfo::epinfo upload;
    upload.set_cmd(6);
    upload.set_agent_id(number % kAgents + 1);
    upload.set_agent_timestamp(number);
    upload.mutable_rc_info()->set_cpu_usage(number);
    auto& base = *upload.mutable_sys_info()->mutable_base_info();
    base.set_host_node("host " + machine);
    base.set_uvmid(static_cast<std::uint64_t>(std::atoll(machine.c_str())));
    upload.mutable_sys_info()->mutable_nw_info()->add_if_info()->set_if_mac("00-00-00-00-00-0" +
                                                                            machine);
    return kxapp::MakeFrame(upload.SerializeAsString());
}

class Sender {
  public:
    Sender(const std::string& name, std::string machine, std::uint32_t first, std::uint32_t count)
        : m_machine(std::move(machine)),
          m_next(first),
          m_left(count),
          m_endless(count == 0),
          m_bus(kxapp::JoinBus(name)) {}

    // False when there is no bus to send on.
    bool run() {
        if (m_bus == nullptr) {
            return false;
        }
        while (!m_lost && (fill() || !m_waiting.empty())) {
            cl_event_loop_once();
        }
        return !m_lost || kxapp::WriteOut("lost\n");
    }

  private:
    struct Question {
        Sender* sender;
        std::uint32_t number;
    };

    // Whether there are more to send than are on their way.
    bool fill() {
        while (m_waiting.size() < kOnTheirWay && (m_endless || m_left > 0)) {
            m_left -= m_endless ? 0 : 1;
            m_waiting.push_back({this, m_next});
            const std::string frame = UploadNumber(m_next++, m_machine);
            (void)nox_ipc_make_request(m_bus.get(), m_manager.get(), 0, frame.data(),
                                       static_cast<unsigned>(frame.size()), OnAnswer,
                                       &m_waiting.back(), kTimeoutS);
        }
        return m_endless || m_left > 0;
    }

    static void OnAnswer(int status, unsigned, const char* data, unsigned len, void* user) {
        const Question question = *static_cast<const Question*>(user);
        Sender& self = *question.sender;
        std::string fault;
        bf_kxepinfo::epinfo_msg_respone answer;
        const auto payload =
            kxapp::PayloadOfFrame(status == 0 ? std::string_view(data, len) : "", fault);
        if (!payload ||
            !answer.ParseFromArray(payload->data(), static_cast<int>(payload->size()))) {
            self.m_lost = true;
            return;
        }
        // One connection is answered in order, so this was the first question that waits; after a
        // loss, of which all questions are told in any order, none is taken away.
        if (!self.m_lost) {
            self.m_waiting.pop_front();
        }
        (void)kxapp::WriteOut(std::to_string(question.number) + " " +
                              std::to_string(answer.status()) + " " +
                              std::to_string(answer.duplicate()) + "\n");
    }

    std::string m_machine;
    std::uint32_t m_next;
    std::uint32_t m_left;
    bool m_endless;
    bool m_lost = false;
    std::deque<Question> m_waiting;
    kxapp::Bus m_bus;
    kxapp::Address m_manager = kxapp::AddressOf("mgr_ei");
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4 && argc != 5) {
        kxapp::Complain("MACHINE FIRST COUNT [NAME]");
        return EXIT_FAILURE;
    }
    Sender sender(argc == 5 ? argv[4] : "agt_ei", argv[1],
                  static_cast<std::uint32_t>(std::atoll(argv[2])),
                  static_cast<std::uint32_t>(std::atoll(argv[3])));
    return sender.run() ? EXIT_SUCCESS : EXIT_FAILURE;
}
