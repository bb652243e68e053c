#include "access_rule.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "kxe_base.h"
#include "kxe_ini.h"
#include "log.h"
#include "trim.h"

namespace noxipc {
namespace {

struct FreeIniFile {
    void operator()(kxe_ini_file* file) const { kxe_ini_file_free(file); }
};

// Not the group id -1, which the kernel takes for "none".
std::optional<gid_t> ParseGroup(std::string_view text) {
    gid_t group = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), group);
    if (error != std::errc() || end != text.data() + text.size() ||
        group == static_cast<gid_t>(-1)) {
        return std::nullopt;
    }
    return group;
}

std::optional<ucred> Credentials(int socket) {
    ucred credentials = {};
    socklen_t size = sizeof credentials;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        return std::nullopt;
    }
    return credentials;
}

// The peer's supplementary groups, as they were when it connected or began to listen.
std::vector<gid_t> Groups(int socket) {
    std::vector<gid_t> groups(NGROUPS_MAX);
    auto size = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
    if (getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size) != 0) {
        size = 0;
    }
    groups.resize(size / sizeof(gid_t));
    return groups;
}

}  // namespace

std::vector<gid_t> ParseGroups(std::string_view text) {
    std::vector<gid_t> groups;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(',', start), text.size());
        const std::string_view part = Trim(text.substr(start, end - start));
        start = end + 1;
        if (const auto group = ParseGroup(part)) {
            groups.push_back(*group);
        } else if (!part.empty()) {
            NOX_LOG(kLogError, "allowed_gids: \"%.*s\" is not a group id",
                    static_cast<int>(part.size()), part.data());
        }
    }
    return groups;
}

AccessRule AccessRule::Load() {
    std::array<char, PATH_MAX> path;
    kxe_dirutils_path_transform("@/../config/ipc.ini", path.data(), path.size());
    if (access(path.data(), F_OK) != 0) {
        return {};
    }
    const std::unique_ptr<kxe_ini_file, FreeIniFile> file(kxe_ini_file_load(path.data()));
    if (file == nullptr) {
        NOX_LOG(kLogError, "%s cannot be read: %s", path.data(), std::strerror(errno));
        return {};
    }
    const char* const groups = kxe_ini_file_get(file.get(), "ipc", "allowed_gids");
    return groups == nullptr ? AccessRule() : AccessRule(ParseGroups(groups));
}

bool AccessRule::Allows(const ucred& credentials, const std::vector<gid_t>& groups) const {
    if (credentials.uid == geteuid() || credentials.uid == 0) {
        return true;
    }
    return std::any_of(allowed_.begin(), allowed_.end(), [&](gid_t allowed) {
        return allowed == credentials.gid ||
               std::find(groups.begin(), groups.end(), allowed) != groups.end();
    });
}

bool AccessRule::Allows(int socket) const {
    const auto credentials = Credentials(socket);
    if (!credentials) {
        NOX_LOG(kLogError, "a peer's credentials cannot be read: %s", std::strerror(errno));
        return false;
    }
    const bool allowed =
        Allows(*credentials, allowed_.empty() ? std::vector<gid_t>() : Groups(socket));
    if (!allowed) {
        NOX_LOG(kLogError, "process %d of user %u may not use the bus", credentials->pid,
                credentials->uid);
    }
    return allowed;
}

}  // namespace noxipc
