#include "real_bus.h"

#include <filesystem>
#include <utility>

#include "common/state.h"
#include "ipc/inbound.h"

namespace fs = std::filesystem;

namespace kxtest {

void RunUntil(const std::function<bool()>& happened) {
    while (!happened()) {
        (void)cl_event_loop_once();
    }
}

Answerer::Answerer(const char* name, unsigned type, std::string answer)
    : answer_type(type), bytes(std::move(answer)), member(nox_ipc_create(name, 0)) {
    EXPECT_EQ(nox_ipc_on_request(member.get(), Answer, this), 0);
}

void Answerer::Answer(nox_ipc_st* ipc, const nox_addr_st* from, unsigned id, unsigned /*type*/,
                      const char* data, unsigned len, void* self) {
    auto* const answerer = static_cast<Answerer*>(self);
    answerer->received.assign(data, len);
    ++answerer->count;
    // Who asked may be gone by now; a test that waits for the answer sees whether it came.
    (void)nox_ipc_response(ipc, from, id, answerer->answer_type, answerer->bytes.data(),
                           Size(answerer->bytes));
}

Ponderer::Ponderer(const char* name) : member(nox_ipc_create(name, 0)) {
    EXPECT_EQ(nox_ipc_on_request(member.get(), Remember, this), 0);
}

void Ponderer::Remember(nox_ipc_st* /*ipc*/, const nox_addr_st* from, unsigned id,
                        unsigned /*type*/, const char* /*data*/, unsigned /*len*/, void* self) {
    static_cast<Ponderer*>(self)->requests.push_back(
        {Address(nox_addr_create(nox_addr_name(from), 0, 0)), id});
}

void Ponderer::Answer(std::size_t number, unsigned type, const std::string& answer) {
    const Request& request = requests.at(number);
    EXPECT_EQ(nox_ipc_response(member.get(), request.from.get(), request.id, type, answer.data(),
                               Size(answer)),
              0);
}

void Outcome::Receive(int status, unsigned type, const char* data, unsigned len, void* self) {
    *static_cast<Outcome*>(self) = {true, status, type, std::string(data, len)};
}

void RealBus::SetUp() {
    InstallationTest::SetUp();
    fs::create_directory(InstallationRoot() / "config");
    ClearLog();
    ResetAgent();
    Attempt_Times = 0;
    g_preOnlineState = 1;
    ASSERT_EQ(endpoint.IpcInit(), 0);
    ASSERT_EQ(endpoint.RegisterIpcRecvReqCallback(IpcOnReqRecv, &endpoint), 0);
    ASSERT_EQ(endpoint.RegisterIpcRecvCallback(IpcOnMsgRecv, &endpoint), 0);
}

void RealBus::Notify() {
    if (notifier == nullptr) {
        notifier.reset(nox_ipc_create("notifier", 0));
    }
    const Address module(nox_addr_create("agt_ei", 0, 0));
    const std::string change = Packed("change", {{"global", "1"}});
    ASSERT_EQ(nox_ipc_send_msg(notifier.get(), module.get(), 1002, change.data(), Size(change)), 0);
}

std::string RealBus::NetConfig() const {
    return ReadFile(InstallationRoot() / "config/net_config.ini");
}

}  // namespace kxtest
