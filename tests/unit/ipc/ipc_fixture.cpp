#include "ipc_fixture.h"

#include <dlfcn.h>

#include "common/state.h"

namespace kxtest {
namespace {

std::string Call(const std::string& name, const std::string& address, int a) {
    return name + " " + address + " " + std::to_string(a);
}

template <class Function>
Function* Real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

FakeBus::FakeBus() {
    AgentHooks& agent = Agent();
    agent.nox_ipc_create = [this](const char* name, int flags) {
        calls.push_back(Call("nox_ipc_create", name, flags));
        return Instance();
    };
    agent.nox_addr_create = [this](const char* name, int a, int b) {
        calls.push_back(Call("nox_addr_create", name, a) + " " + std::to_string(b));
        return std::string(name) == "mgr_ei" ? Manager() : ConfigurationCentre();
    };
    agent.nox_ipc_destroy = [this](nox_ipc_st* ipc) {
        calls.push_back(ipc == Instance() ? "nox_ipc_destroy" : "nox_ipc_destroy of another");
    };
    agent.nox_addr_destroy = [this](nox_addr_st* address) {
        calls.push_back(address == Manager() ? "nox_addr_destroy mgr_ei"
                                             : "nox_addr_destroy of another");
    };
    agent.nox_ipc_make_request = [this](nox_ipc_st* ipc, const nox_addr_st* to, unsigned type,
                                        const char* data, unsigned len, nox_ipc_response_cb cb,
                                        void* user, int timeout_s) {
        EXPECT_EQ(ipc, Instance());
        requests.push_back({to, type, std::string(data, len), cb, user, timeout_s});
        return 0;
    };
    agent.nox_ipc_msg_recv = [](nox_ipc_st*, nox_ipc_msg_cb, void*) { return 0; };
    agent.nox_ipc_on_request = [](nox_ipc_st*, nox_ipc_request_cb, void*) { return 0; };
    agent.nox_ipc_response = [this](nox_ipc_st* ipc, const nox_addr_st* to, unsigned request_id,
                                    unsigned type, const char* data, unsigned len) {
        answers.push_back({ipc, to, request_id, type, std::string(data, len)});
        return 0;
    };
    agent.nox_ipc_strerror = [](int code) {
        static std::string text;
        text = "text of " + std::to_string(code);
        return text.c_str();
    };
}

void IpcTest::SetUp() {
    InstallationTest::SetUp();
    ClearLog();
    s_lastAgentInfo = {};
    s_lastUsrLogInfo = {};
    g_strCurConnectIp.clear();
    g_strPreConnectIp.clear();
    g_preOnlineState = 1;
    Attempt_Times = 0;
    s_heartbeatMisses = 0;
}

std::string Packed(const std::string& name, const Entries& entries) {
    xmsg* const msg = xmsg_new(name.c_str());
    for (const auto& [key, value] : entries) {
        EXPECT_EQ(xmsg_add(msg, key.data(), static_cast<uint16_t>(key.size()), value.data(),
                           static_cast<uint32_t>(value.size())),
                  0);
    }
    std::string bytes(xmsg_pack_size(msg), '\0');
    EXPECT_EQ(xmsg_pack(msg, bytes.data(), Size(bytes)), static_cast<int>(bytes.size()));
    xmsg_release(msg);
    return bytes;
}

std::string PackedAddresses(const std::string& count, const Entries& addresses) {
    return Packed("answer", {{"count", count}, {"multi_ip", Packed("multi_ip", addresses)}});
}

std::string PackedAddresses(const std::string& count, const std::vector<std::string>& values) {
    Entries addresses;
    for (const std::string& value : values) {
        addresses.emplace_back("ip" + std::to_string(addresses.size()), value);
    }
    return PackedAddresses(count, addresses);
}

LiveMessages::LiveMessages() {
    Agent().xmsg_new = [this](const char* name) {
        xmsg* const msg = Real<decltype(::xmsg_new)>("xmsg_new")(name);
        count += msg != nullptr ? 1 : 0;
        return msg;
    };
    Agent().xmsg_unpack = [this](const char* data, uint32_t len) {
        xmsg* const msg = Real<decltype(::xmsg_unpack)>("xmsg_unpack")(data, len);
        count += msg != nullptr ? 1 : 0;
        return msg;
    };
    Agent().xmsg_release = [this](xmsg* msg) {
        count -= msg != nullptr ? 1 : 0;
        Real<decltype(::xmsg_release)>("xmsg_release")(msg);
    };
}

}  // namespace kxtest
