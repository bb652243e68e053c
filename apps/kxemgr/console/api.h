// The console's answers in JSON; docs/console.md shows each.
#ifndef KX_APPS_KXEMGR_CONSOLE_API_H
#define KX_APPS_KXEMGR_CONSOLE_API_H

#include <cstdint>
#include <string>
#include <vector>

#include "common/json.h"
#include "common/upload.h"
#include "kxemgr/console/queries.h"

namespace kxemgr::console {

// When an answer is made, and how old the last upload of an agent that is online may be.
struct Clock {
    std::int64_t now_ms = 0;
    std::int64_t offline_after_ms = 0;

    // An agent whose last upload is from the future, since the manager's clock was set back, is
    // online.
    bool is_online(std::int64_t last_seen_ms) const {
        return now_ms - last_seen_ms < offline_after_ms;
    }
};

// Each is JSON text in ASCII with a newline at its end. Agents' text is in strings and nowhere
// else.
std::string AgentsJson(const std::vector<AgentSummary>& agents, const Clock& clock);
std::string AgentJson(const AgentDetail& agent, const Clock& clock);
std::string HistoryJson(const History& history);
std::string ErrorJson(const std::string& words);

// The data of events, each one line without a newline.
std::string HelloData(const Clock& clock);
std::string UploadData(const kxapp::Upload& upload, const bf_kxepinfo::epinfo_msg_respone& answer);

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_API_H
