#include "recording_agent.h"

#include <dlfcn.h>
#include <unistd.h>

#include <mutex>

#include "fake_agent.h"
#include "ipc/response.h"
#include "log_capture.h"

namespace {

std::mutex journal_mutex;
std::vector<std::string> journal;
std::size_t lines_taken = 0;

Answers answers;
cl_timerplus timer;
bool timer_armed = false;
int passes = 0;
std::vector<SentUpload> uploads;

// Stand for the libraries' objects, which are never looked into.
char handles[4];
nox_ipc_st* const kIpc = reinterpret_cast<nox_ipc_st*>(&handles[0]);
nox_addr_st* const kManager = reinterpret_cast<nox_addr_st*>(&handles[1]);
nox_addr_st* const kCfgc = reinterpret_cast<nox_addr_st*>(&handles[2]);
kxe_ini_file* const kIni = reinterpret_cast<kxe_ini_file*>(&handles[3]);

std::string OneLine(std::string text) {
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) {
        text.replace(at, 1, "\\n");
    }
    return text;
}

void TakeLogLines() {
    const std::vector<kxtest::LogLine> lines = kxtest::LoggedLines();
    for (; lines_taken < lines.size(); ++lines_taken) {
        const kxtest::LogLine& line = lines[lines_taken];
        journal.push_back(std::to_string(line.level) + " " + line.tag + ": " + OneLine(line.text));
    }
}

std::string NameOf(const void* handle) {
    return handle == kIpc ? "agt_ei" : handle == kManager ? "mgr_ei" : "agt_cfgc";
}

int Request(nox_ipc_st* ipc, const nox_addr_st* to, unsigned type, const char* data, unsigned len,
            nox_ipc_response_cb cb, void* user, int timeout_s) {
    Note("nox_ipc_make_request " + NameOf(ipc) + " " + NameOf(to) + " type " +
         std::to_string(type));
    if (to == kManager) {
        uploads.push_back({type, std::string(data, len), cb == IpcOnResponse, user, timeout_s});
    }
    return 0;
}

void UseRecordingBus(kxtest::AgentHooks& agent) {
    agent.nox_ipc_create = [](const char* name, int flags) {
        Note(std::string("nox_ipc_create ") + name + " " + std::to_string(flags));
        return answers.ipc_create ? kIpc : nullptr;
    };
    agent.nox_ipc_destroy = [](nox_ipc_st* ipc) { Note("nox_ipc_destroy " + NameOf(ipc)); };
    agent.nox_addr_create = [](const char* name, int a, int b) -> nox_addr_st* {
        Note(std::string("nox_addr_create ") + name + " " + std::to_string(a) + " " +
             std::to_string(b));
        if (std::string(name) == "mgr_ei") {
            return answers.manager_address ? kManager : nullptr;
        }
        return answers.cfgc_address ? kCfgc : nullptr;
    };
    agent.nox_addr_destroy = [](nox_addr_st* addr) { Note("nox_addr_destroy " + NameOf(addr)); };
    agent.nox_ipc_make_request = Request;
    agent.nox_ipc_on_request = [](nox_ipc_st*, nox_ipc_request_cb, void*) {
        Note("nox_ipc_on_request");
        return answers.on_request;
    };
    agent.nox_ipc_msg_recv = [](nox_ipc_st*, nox_ipc_msg_cb, void*) {
        Note("nox_ipc_msg_recv");
        return answers.msg_recv;
    };
    agent.nox_ipc_strerror = [](int) { return "text of the code"; };
    agent.nox_get_hostid = [] {
        Note("nox_get_hostid");
        answers.get_host_id();
        return answers.host_id;
    };
}

void UseRecordingLoop(kxtest::AgentHooks& agent) {
    agent.cl_timerplus_start = [](int flags, int period_ms, cl_timerplus_cb /*cb*/, void* user) {
        Note("cl_timerplus_start " + std::to_string(flags) + " " + std::to_string(period_ms));
        timer.user = user;
        timer_armed = answers.timer;
        return answers.timer ? &timer : nullptr;
    };
    agent.cl_event_loop_once = [] {
        Note("cl_event_loop_once");
        return answers.loop_once(timer_armed ? &timer : nullptr, ++passes);
    };
    agent.autolog_init = [](const char* dir, int files) {
        Note(std::string("autolog_init ") + dir + " " + std::to_string(files));
        return 0;
    };
}

void UseRecordingBase(kxtest::AgentHooks& agent) {
    agent.kxe_time = [] {
        Note("kxe_time");
        return uint64_t{1700000000};
    };
    agent.kxe_ini_file_load = [](const char* path) {
        Note(std::string("kxe_ini_file_load ") + path);
        return answers.ini_file ? kIni : nullptr;
    };
    agent.kxe_ini_file_get = [](kxe_ini_file*, const char* section, const char* key) {
        Note(std::string("kxe_ini_file_get ") + section + " " + key);
        return answers.gap;
    };
    agent.kxe_ini_file_free = [](kxe_ini_file*) { Note("kxe_ini_file_free"); };
}

// The function of that name in the library behind the test program.
template <class Function>
Function* Real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// Recorded, and done by the real library.
void UseRecordingXmsg(kxtest::AgentHooks& agent) {
    agent.xmsg_new = [](const char* name) {
        Note(std::string("xmsg_new ") + name);
        return Real<decltype(xmsg_new)>("xmsg_new")(name);
    };
    agent.xmsg_add = [](xmsg* msg, const char* key, uint16_t key_len, const char* value,
                        uint32_t value_len) {
        Note("xmsg_add " + std::string(key, key_len) + "=" + std::string(value, value_len));
        return Real<decltype(xmsg_add)>("xmsg_add")(msg, key, key_len, value, value_len);
    };
    agent.xmsg_pack_size = [](const xmsg* msg) {
        Note("xmsg_pack_size");
        return Real<decltype(xmsg_pack_size)>("xmsg_pack_size")(msg);
    };
    agent.xmsg_pack = [](const xmsg* msg, char* buffer, uint32_t size) {
        Note("xmsg_pack");
        return Real<decltype(xmsg_pack)>("xmsg_pack")(msg, buffer, size);
    };
    agent.xmsg_release = [](xmsg* msg) {
        Note("xmsg_release");
        Real<decltype(xmsg_release)>("xmsg_release")(msg);
    };
}

}  // namespace

void Note(const std::string& event) {
    const std::lock_guard lock(journal_mutex);
    TakeLogLines();
    journal.push_back(event);
}

std::vector<std::string> Journal() {
    const std::lock_guard lock(journal_mutex);
    TakeLogLines();
    return journal;
}

void ClearJournal() {
    const std::lock_guard lock(journal_mutex);
    journal.clear();
    kxtest::ClearLog();
    lines_taken = 0;
}

Answers& UseRecordingAgent() {
    ClearJournal();
    answers = Answers{};
    timer_armed = false;
    passes = 0;
    uploads.clear();
    kxtest::ResetAgent();
    UseRecordingBus(kxtest::Agent());
    UseRecordingLoop(kxtest::Agent());
    UseRecordingBase(kxtest::Agent());
    UseRecordingXmsg(kxtest::Agent());
    return answers;
}

const std::vector<SentUpload>& SentUploads() {
    return uploads;
}

std::string LastUpload() {
    return uploads.empty() ? std::string() : uploads.back().frame.substr(20);
}

// In front of the C library's.
extern "C" unsigned sleep(unsigned seconds) {
    Note("sleep " + std::to_string(seconds));
    answers.sleep();
    return 0;
}

extern "C" int usleep(useconds_t microseconds) {
    Note("usleep " + std::to_string(microseconds));
    return 0;
}
