#include <fcntl.h>
#include <jansson.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>

#include "common/json.h"
#include "common/number.h"
#include "common/permissions.h"
#include "kxectl/checks.h"

namespace fs = std::filesystem;

namespace kxectl {

namespace {

constexpr std::size_t kMostLooseFiles = 20;

struct ShippedFile {
    const char* path;
    const char* why;
};

constexpr ShippedFile kShipped[] = {
    {"lib/libkxepinfo.so", "it is the module: nothing is collected without it"},
    {"bin/resmon_export.sh", "it names the distribution, which is empty in uploads without it"},
    {"config/agent_cfg.json", "uploads name default versions and no manager without it"},
    {"config/server_port.ini", "new IPv4 addresses are told to nobody without it"},
};

std::string Mode(mode_t mode) {
    char text[16];
    (void)std::snprintf(text, sizeof text, "%04o", mode);
    return text;
}

// 0, or why this process cannot read it as a file, an errno value.
int ReadingFails(const fs::path& path) {
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) {
        return errno;
    }
    struct stat status {};
    const bool regular = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    (void)close(file);  // only looked at
    return regular ? 0 : EINVAL;
}

std::string WhyUnreadable(int failure) {
    return failure == EINVAL ? "is no file with text" : std::strerror(failure);
}

bool Exists(const fs::path& path) {
    return access(path.c_str(), F_OK) == 0;
}

// The time at which a file's content changed last; false when there is none.
bool ChangeTime(const fs::path& path, std::time_t& time) {
    struct stat status {};
    const bool there = stat(path.c_str(), &status) == 0;
    time = status.st_mtime;
    return there;
}

void CheckAgentId(const fs::path& root, Findings& findings) {
    const fs::path path = root / "config/agent_id";
    std::ifstream file(path);
    std::string id;
    if (!std::getline(file, id)) {
        return;  // the agent draws one
    }
    const auto number = kxapp::ReadNumber(id);
    if (!number || *number < 1 || *number > std::numeric_limits<std::uint32_t>::max()) {
        findings.push_back({path.string() + " holds no number from 1 to 4294967295",
                            "the next process draws another id, and the manager sees a new agent",
                            "put the former id back if it is known, or remove the file"});
    }
}

void CheckVersions(const fs::path& root, Findings& findings) {
    const fs::path path = root / "config/agent_cfg.json";
    if (ReadingFails(path) != 0) {
        return;  // CheckFiles tells
    }
    json_error_t error;
    const kxapp::Json json(json_load_file(path.c_str(), 0, &error));
    if (!json_is_object(json_object_get(json.get(), "version"))) {
        findings.push_back({path.string() + " is no JSON object with an object version",
                            "uploads name default versions and no manager",
                            "let the updater write the file again, or restore it"});
    }
}

}  // namespace

void CheckPermissions(const fs::path& root, uid_t user, Findings& findings) {
    for (const kxapp::LooseFile& file : kxapp::FindLooseFiles(root, user, kMostLooseFiles)) {
        const std::string remedy =
            file.stranger == kxapp::Stranger::kOwner ? "chown root " : "chmod go-w ";
        findings.push_back({file.path.string() + " can be changed by " +
                                kxapp::NameOf(file.stranger) + " (mode " + Mode(file.mode) +
                                ", owner " + std::to_string(file.owner) + ")",
                            "whoever can change it can do all that the host can (SECURITY.md)",
                            remedy + file.path.string()});
    }
}

void CheckFiles(const fs::path& root, Findings& findings) {
    for (const ShippedFile& file : kShipped) {
        const fs::path path = root / file.path;
        if (const int failure = ReadingFails(path); failure == ENOENT) {
            findings.push_back(
                {path.string() + " is missing", file.why, "install the agent again"});
        } else if (failure != 0) {
            findings.push_back({path.string() + " cannot be read: " + WhyUnreadable(failure),
                                file.why, "make it a file that the host's user can read"});
        }
    }
}

void CheckFlags(const fs::path& root, Findings& findings) {
    const fs::path uninstalling = root / "bin/uninstalling";
    if (Exists(uninstalling)) {
        findings.push_back({uninstalling.string() + " exists", "the module sends nothing",
                            "finish the removal, or remove the file to keep the agent"});
    }
    const fs::path recalculate = root / "config/recalculate_agentid";
    std::time_t asked = 0;
    std::time_t drawn = 0;
    if (ChangeTime(recalculate, asked) && ChangeTime(root / "config/agent_id", drawn) &&
        asked > drawn) {
        findings.push_back({recalculate.string() + " is newer than agent_id",
                            "the manager has seen this agent's id on another machine",
                            "restart the host, which then draws an id of its own"});
    }
}

void CheckSettings(const std::vector<Setting>& settings, Findings& findings) {
    for (const Setting& setting : settings) {
        if (setting.unreadable != 0) {
            findings.push_back(
                {setting.file + " cannot be read: " + WhyUnreadable(setting.unreadable),
                 "[" + setting.section + "] " + setting.key + " has its default",
                 "make it a file of at most 4 MiB that the host's user can read"});
        } else if (!setting.fault.empty()) {
            findings.push_back(
                {"[" + setting.section + "] " + setting.key + " in " + setting.file + " " +
                     setting.fault,
                 "the agent does something else than what is written there",
                 "correct it (docs/configuration.md); what is read at the start needs a restart"});
        }
    }
}

void CheckState(const fs::path& root, Findings& findings) {
    CheckAgentId(root, findings);
    CheckVersions(root, findings);
}

void CheckLogDirectory(const fs::path& root, Findings& findings) {
    const fs::path log = root / "var/log/agent/kxepinfo";
    fs::path there = log;
    while (there != root && !Exists(there)) {
        there = there.parent_path();
    }
    if (access(there.c_str(), W_OK | X_OK) != 0) {
        JudgeLogDirectory(there.string(), errno, geteuid(), findings);
    } else if (!fs::is_directory(there)) {
        findings.push_back({there.string() + " is no directory",
                            "the log goes to the host's standard error, or nowhere",
                            "move it away; the host makes the directory"});
    }
}

void JudgeLogDirectory(const std::string& path, int failure, uid_t user, Findings& findings) {
    constexpr char kWhy[] = "the log goes to the host's standard error, or nowhere";
    const std::string what = path + " cannot be written to: " + std::strerror(failure);
    if (failure == EACCES && user != 0) {
        findings.push_back({what + " for user " + std::to_string(user), kWhy,
                            "run this as root or as the host's user; if it is found then too, give "
                            "the directory to the host's user"});
        return;
    }
    findings.push_back(
        {what, kWhy, "make it a directory of the host's user, on a disk that takes writes"});
}

void CheckSpace(const fs::path& root, Findings& findings) {
    struct statvfs disk {};
    if (statvfs((root / "var").c_str(), &disk) == 0) {
        JudgeSpace((root / "var").string(), disk.f_bavail * disk.f_frsize, disk.f_favail,
                   disk.f_files, findings);
    }
}

void JudgeSpace(const std::string& path, std::uint64_t free_bytes, std::uint64_t free_files,
                std::uint64_t total_files, Findings& findings) {
    constexpr char kWhy[] = "log, state and the agent's id cannot be written when it is full";
    if (free_bytes < kLeastFreeBytes) {
        findings.push_back(
            {"the disk of " + path + " has " + std::to_string(free_bytes >> 20U) + " MiB left",
             kWhy, "make room: the log alone may take 50 MiB"});
    } else if (total_files != 0 && free_files == 0) {
        findings.push_back({"the disk of " + path + " takes no more files", kWhy,
                            "remove files that nobody needs from that disk"});
    }
}

void CheckClock(const fs::path& root, std::time_t now, Findings& findings) {
    constexpr std::time_t kTolerance = 60;  // seconds
    const fs::path module = root / "lib/libkxepinfo.so";
    std::time_t built = 0;
    if (ChangeTime(module, built) && now + kTolerance < built) {
        findings.push_back({"the machine's clock is behind " + module.string(),
                            "uploads, logins and log lines carry wrong times",
                            "set the clock, and let it be kept by a time service"});
    }
}

}  // namespace kxectl
