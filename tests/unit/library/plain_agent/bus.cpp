#include "bus.h"

#include <atomic>
#include <cerrno>
#include <map>
#include <mutex>

#include "bus_instance.h"
#include "guarded.h"
#include "handles.h"
#include "loop.h"

namespace {

std::mutex mutex;
std::map<std::string, plain::Answer> answers;
std::vector<plain::Request> requests;
std::vector<plain::Response> responses;
std::atomic<unsigned> request_ids;

// The address that a callback is handed: gone when it returns.
class Sender {
  public:
    Sender() { plain::HandOut(&m_address, plain::kSender); }
    ~Sender() { (void)plain::TakeBack(&m_address, plain::kSender, "a callback"); }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    const nox_addr_st* get() const { return &m_address; }

  private:
    nox_addr_st m_address{"somebody"};
};

}  // namespace

namespace plain {

void AnswerRequestsTo(const std::string& peer, const Answer& answer) {
    const std::lock_guard lock(mutex);
    answers[peer] = answer;
}

std::vector<Request> RequestsTo(const std::string& peer) {
    const std::lock_guard lock(mutex);
    std::vector<Request> found;
    for (const Request& request : requests) {
        if (request.to == peer) {
            found.push_back(request);
        }
    }
    return found;
}

unsigned Ask(unsigned type, const std::string& data) {
    const unsigned id = ++request_ids;
    Post([=] {
        if (instance == nullptr || instance->on_request == nullptr) {
            return;
        }
        const Sender from;
        const GuardedBytes bytes(data, 1);
        instance->open_request = id;
        instance->on_request(instance, from.get(), id, type, bytes.data(),
                             static_cast<unsigned>(bytes.size()), instance->request_user);
        instance->open_request = 0;
    });
    return id;
}

void Notify(unsigned type, const std::string& data) {
    Post([=] {
        if (instance == nullptr || instance->on_message == nullptr) {
            return;
        }
        const Sender from;
        const GuardedBytes bytes(data, 1);
        instance->on_message(instance, from.get(), type, bytes.data(),
                             static_cast<unsigned>(bytes.size()), instance->message_user);
    });
}

std::vector<Response> Responses() {
    const std::lock_guard lock(mutex);
    return responses;
}

void ResetBus() {
    const std::lock_guard lock(mutex);
    answers.clear();
    requests.clear();
    responses.clear();
}

Answer Record(const Request& request) {
    const std::lock_guard lock(mutex);
    requests.push_back(request);
    const auto found = answers.find(request.to);
    return found == answers.end() ? Answer{.status = ECONNREFUSED} : found->second;
}

void Record(const Response& response) {
    const std::lock_guard lock(mutex);
    responses.push_back(response);
}

}  // namespace plain
