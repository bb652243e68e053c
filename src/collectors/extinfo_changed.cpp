#include "collectors/extinfo.h"
#include "common/log.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";

constexpr std::string _stExtInfo::*kVersions[] = {
    &_stExtInfo::agent_version, &_stExtInfo::virus_version, &_stExtInfo::patchdb_version,
    &_stExtInfo::ioadb_version, &_stExtInfo::iocdb_version,
};

bool HasSameVersions(const _stExtInfo& previous, const _stExtInfo& current) {
    for (const auto version : kVersions) {
        if (previous.*version != current.*version) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool IsExtChanged(const _stExtInfo& previous, const _stExtInfo& current) {
    if (HasSameVersions(previous, current)) {
        return false;
    }
    EP_LOG(kLogInformation, "version information has changed\n");
    EP_LOG(kLogInformation,
           "agent version: %s, vdb version: %s, patchdb version: %s, ioa version: %s, ioc version: "
           "%s \n",
           current.agent_version.c_str(), current.virus_version.c_str(),
           current.patchdb_version.c_str(), current.ioadb_version.c_str(),
           current.iocdb_version.c_str());
    return true;
}
