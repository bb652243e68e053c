#include "collectors/versions.h"

#include <string>

#include "common/log.h"
#include "kxe_base.h"

namespace {

constexpr char kLogTag[] = "extinfo";

// Where the product installs itself.
constexpr std::string_view kOwnDirectories[] = {"kx/edr/agent", "velmora/edr/agent"};

bool IsOwnInstallation(std::string_view path) {
    for (const std::string_view directory : kOwnDirectories) {
        if (kxe_str_find(path.data(), path.size(), directory.data(), directory.size(), 0) >= 0) {
            return true;
        }
    }
    return false;
}

struct Member {
    const char* name;
    std::string _stExtInfo::*version;
    bool is_appended;  // behind a blank, instead of taking the version's place
    int level;         // of the complaint
    const char* complaint;
};

// In the order in which they are handled: "plus" follows whatever "components" left behind, the
// default included. Operators search for the complaints as they are, the two blanks of the first
// one included; only "plus" is no error when it is missing, since not every release has one.
constexpr Member kMembers[] = {
    {"components", &_stExtInfo::agent_version, false, kLogError,
     "component version  parameter is invalid!"},
    {"plus", &_stExtInfo::agent_version, true, kLogInformation, "component has no plus version"},
    {"virusdbs", &_stExtInfo::virus_version, false, kLogError, "db version parameter is invalid!"},
    {"patchdbs", &_stExtInfo::patchdb_version, false, kLogError, "Invalid patch version"},
    {"ioadbs", &_stExtInfo::ioadb_version, false, kLogError, "Invalid ioa version"},
    {"iocdbs", &_stExtInfo::iocdb_version, false, kLogError, "Invalid ioc version"},
};

void FillVersion(const json_t* versions, const Member& member, _stExtInfo& out) {
    const char* const value = json_string_value(json_object_get(versions, member.name));
    if (value == nullptr) {
        EP_LOG(member.level, "%s", member.complaint);
        return;
    }
    std::string& version = out.*member.version;
    version = member.is_appended ? version + " " + value : value;
}

}  // namespace

void SetDefaultVersions(std::string_view path, _stExtInfo& out) {
    const bool is_own = IsOwnInstallation(path);
    out.agent_version = is_own ? "3.2.10.100" : "0.0.0";
    out.virus_version = is_own ? "20190220222616" : "0";
    out.patchdb_version = is_own ? "20190227112530" : "0";
    out.ioadb_version = "0";
    out.iocdb_version = "0.0";  // its versions have two parts, also where there is none
}

bool FillVersions(const json_t* document, _stExtInfo& out) {
    const json_t* const versions = json_object_get(document, "version");
    if (!json_is_object(versions)) {
        EP_LOG(kLogError, "version parameter is invalid");
        return false;
    }
    for (const Member& member : kMembers) {
        FillVersion(versions, member, out);
    }
    return true;
}
