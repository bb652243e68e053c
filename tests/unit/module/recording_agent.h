// Agent libraries that record how the module calls them and do what a test tells them, in place of
// the real ones; and the journal into which the calls and the module's log lines go in one order.
#ifndef KXEPINFO_TESTS_UNIT_MODULE_RECORDING_AGENT_H
#define KXEPINFO_TESTS_UNIT_MODULE_RECORDING_AGENT_H

#include <functional>
#include <string>
#include <vector>

#include "cl_ev.h"

// Appends to the journal, behind the log lines that came before. Any thread.
void Note(const std::string& event);

// Everything so far. A log line reads "LEVEL TAG: TEXT", a newline in it "\n".
std::vector<std::string> Journal();
void ClearJournal();

// What the libraries answer. Set before the module runs.
struct Answers {
    uint32_t host_id = 4711;
    bool ipc_create = true;
    bool manager_address = true;
    bool cfgc_address = true;
    int on_request = 0;
    int msg_recv = 0;
    bool ini_file = true;
    const char* gap = "5";  // null: the key is missing
    bool timer = true;
    // The event loop: gets the armed timer (null when none is) and the number of the pass, from 1.
    std::function<int(cl_timerplus* timer, int pass)> loop_once = [](cl_timerplus*, int) {
        return 0;
    };
    std::function<void()> sleep = [] {};        // while processor load is sampled
    std::function<void()> get_host_id = [] {};  // while the agent's id is asked for
};

// Replaces all libraries but log, xmsg and base; starts with an empty journal and log. The
// one-second sleep and the pause of the worker are recorded and do not take time.
Answers& UseRecordingAgent();

// The last upload handed to the bus, without its frame header.
std::string LastUpload();

// For ProcessMainCb and IpcOnResponse: what the module gave with the last upload.
struct SentUpload {
    unsigned type = 0;
    std::string frame;
    bool with_response_callback = false;  // IpcOnResponse
    void* user = nullptr;
    int timeout_s = 0;
};
const std::vector<SentUpload>& SentUploads();

#endif  // KXEPINFO_TESTS_UNIT_MODULE_RECORDING_AGENT_H
