#include "kxectl/status.h"

#include <jansson.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>

#include "common/json.h"
#include "common/number.h"
#include "kxectl/process.h"

namespace kxectl {

namespace {

std::string FirstLine(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::string line;
    (void)std::getline(file, line);
    return line;
}

// 0 when this process can read the file, or the file is missing.
int WhyUnreadable(const std::filesystem::path& path) {
    if (access(path.c_str(), R_OK) == 0) {
        return 0;
    }
    const int failure = errno;
    return failure == ENOENT ? 0 : failure;
}

std::vector<std::pair<std::string, std::string>> Versions(const std::filesystem::path& root,
                                                          const std::string& own) {
    std::vector<std::pair<std::string, std::string>> versions{{"kxectl", own}};
    const std::filesystem::path path = root / "config/agent_cfg.json";
    if (!std::filesystem::is_regular_file(path)) {
        return versions;  // a pipe would be waited for
    }
    json_error_t error;
    const kxapp::Json json(json_load_file(path.c_str(), 0, &error));
    const json_t* const written = json_object_get(json.get(), "version");
    for (const char* const name :
         {"components", "plus", "virusdbs", "patchdbs", "ioadbs", "iocdbs"}) {
        if (const char* const value = json_string_value(json_object_get(written, name))) {
            versions.emplace_back(name, value);
        }
    }
    return versions;
}

// Of an upload that was accepted there is a line at this level alone.
bool TellsAcceptance(const std::vector<Setting>& settings) {
    return std::any_of(settings.begin(), settings.end(), [](const Setting& setting) {
        return setting.section == "log" && setting.key == "level" && setting.value == "4";
    });
}

}  // namespace

Status Look(const std::filesystem::path& root, const std::string& version) {
    Status status;
    status.root = root;
    status.module = kxapp::FindListener(root, "agt_ei");
    if (status.module.failure == 0 && status.module.pid != 0) {
        status.program = ProgramOf(status.module.pid);
        status.since = StartTime(status.module.pid);
    }
    const std::filesystem::path id_file = root / "config/agent_id";
    const std::string id = FirstLine(id_file);
    status.agent_id = kxapp::ReadNumber(id) ? id : "";
    status.id_unreadable = WhyUnreadable(id_file);
    status.last_upload = ReadLastUpload(root);
    status.log_unreadable = WhyUnreadable(LogFile(root));
    status.versions = Versions(root, version);
    status.settings = ReadSettings(root);
    if (status.last_upload) {
        status.last_upload->may_be_older = !TellsAcceptance(status.settings);
    }
    return status;
}

}  // namespace kxectl
