#include "common/service.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include "common/complain.h"

namespace kxapp {

namespace {

std::string_view NameOf(const nox_addr_st* address) {
    const char* name = nox_addr_name(address);
    return name != nullptr ? name : "";
}

}  // namespace

Bus JoinBus(const std::string& name) {
    Bus bus(nox_ipc_create(name.c_str(), 0));
    if (bus == nullptr) {
        Complain("cannot join the bus as %s; the bus library has told why", name.c_str());
    }
    return bus;
}

Address AddressOf(const std::string& name) {
    Address address(nox_addr_create(name.c_str(), 0, 0));
    if (address == nullptr) {
        throw std::runtime_error("no bus address for " + name);
    }
    return address;
}

Service::Service(std::string name, Handler handler, unsigned late_ms)
    : m_name(std::move(name)),
      m_handler(std::move(handler)),
      m_late_ms(late_ms),
      m_timer(MakeLoopHandle<uv_timer_t>(uv_timer_init)) {
    m_timer->data = this;
}

bool Service::open() {
    m_bus = JoinBus(m_name);
    if (m_bus == nullptr) {
        return false;
    }
    const int requests = nox_ipc_on_request(m_bus.get(), &Service::OnRequest, this);
    const int messages = nox_ipc_msg_recv(m_bus.get(), &Service::OnMessage, this);
    if (requests != 0 || messages != 0) {
        Complain("cannot receive on the bus: %s",
                 nox_ipc_strerror(requests != 0 ? requests : messages));
        return false;
    }
    return true;
}

bool Service::after_pass() {
    if (!m_close_wanted) {
        return true;
    }
    m_close_wanted = false;
    m_late.clear();
    uv_timer_stop(m_timer.get());
    m_bus.reset();
    return open();
}

void Service::OnRequest(nox_ipc_st*, const nox_addr_st* from, unsigned request_id, unsigned type,
                        const char* data, unsigned len, void* service) {
    Service& self = *static_cast<Service*>(service);
    // The bus is a C library: no exception may pass through it.
    try {
        const Request request{NameOf(from), request_id, type, {data, data != nullptr ? len : 0}};
        self.respond(from, request, self.m_handler(request));
    } catch (const std::exception& error) {
        Complain("a request is lost: %s", error.what());
    }
}

void Service::OnMessage(nox_ipc_st*, const nox_addr_st* from, unsigned type, const char*, unsigned,
                        void*) {
    Complain("one-way message of type %u from %s is not understood", type, NameOf(from).data());
}

void Service::respond(const nox_addr_st* from, const Request& request, Reply reply) {
    switch (reply.delivery) {
        case Delivery::kNow:
            send(from, request.id, reply.type, reply.data);
            break;
        case Delivery::kLate:
            keep_for_later(request, std::move(reply));
            break;
        case Delivery::kNever:
            break;
        case Delivery::kClose:
            m_close_wanted = true;
            break;
    }
}

int Service::answer(const std::string& to, unsigned request_id, unsigned type,
                    const std::string& data) {
    return nox_ipc_response(m_bus.get(), AddressOf(to).get(), request_id, type, data.data(),
                            static_cast<unsigned>(data.size()));
}

void Service::send(const nox_addr_st* to, unsigned request_id, unsigned type,
                   const std::string& data) {
    const int failure = nox_ipc_response(m_bus.get(), to, request_id, type, data.data(),
                                         static_cast<unsigned>(data.size()));
    if (failure != 0) {
        Complain("cannot answer %s: %s", NameOf(to).data(), nox_ipc_strerror(failure));
    }
}

void Service::keep_for_later(const Request& request, Reply reply) {
    if (m_late.size() == kMostLateReplies) {
        Complain("%zu answers wait already: one more is not answered", m_late.size());
        return;
    }
    uv_update_time(m_timer->loop);
    m_late.push_back({uv_now(m_timer->loop) + m_late_ms, std::string(request.from), request.id,
                      reply.type, std::move(reply.data)});
    if (m_late.size() == 1) {
        arm_timer();
    }
}

void Service::arm_timer() {
    const std::uint64_t now = uv_now(m_timer->loop);
    const std::uint64_t due = m_late.front().due_ms;
    const auto on_due = [](uv_timer_t* timer) {
        try {
            static_cast<Service*>(timer->data)->send_due_replies();
        } catch (const std::exception& error) {
            Complain("a late answer is lost: %s", error.what());
        }
    };
    (void)uv_timer_start(m_timer.get(), on_due, due > now ? due - now : 0, 0);
}

void Service::send_due_replies() {
    while (!m_late.empty() && m_late.front().due_ms <= uv_now(m_timer->loop)) {
        const LateReply reply = std::move(m_late.front());
        m_late.pop_front();
        send(AddressOf(reply.to).get(), reply.request_id, reply.type, reply.data);
    }
    if (!m_late.empty()) {
        arm_timer();
    }
}

}  // namespace kxapp
