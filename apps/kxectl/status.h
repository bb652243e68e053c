// How the agent of this installation is.
#ifndef KX_APPS_KXECTL_STATUS_H
#define KX_APPS_KXECTL_STATUS_H

#include <sys/types.h>

#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/listener.h"
#include "kxectl/last_upload.h"
#include "kxectl/settings.h"

namespace kxectl {

struct Status {
    std::filesystem::path root;  // of the installation
    kxapp::Listener module;      // who has the module's name on the bus
    std::string program;
    std::optional<std::time_t> since;
    std::optional<bool> online;  // nothing when the agent was not asked or gave no answer
    std::string agent_id;        // empty when it is not known
    int id_unreadable = 0;       // why the file of the id cannot be read, an errno value
    std::optional<LastUpload> last_upload;
    int log_unreadable = 0;  // why the log cannot be read, likewise; 0 when it is missing
    std::vector<std::pair<std::string, std::string>> versions;
    std::vector<Setting> settings;
};

// All of it but the online state. `version` is this program's own; the others are those written in
// agent_cfg.json.
Status Look(const std::filesystem::path& root, const std::string& version);

// For people, a fact a line, printable.
std::string StatusForPeople(const Status& status);

// The same as JSON; what is not known is null.
std::string StatusAsJson(const Status& status);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_STATUS_H
