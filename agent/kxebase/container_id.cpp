#include "container_id.h"

#include <algorithm>
#include <array>

namespace kxebase {
namespace {

// Cuts the part before the first `separator` off `rest` and returns it; the whole when there is
// none.
std::string_view TakeUntil(std::string_view& rest, char separator) {
    const std::size_t end = rest.find(separator);
    const std::string_view part = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return part;
}

// Not isalnum: the process's locale must not decide.
bool IsLetterOrDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsIdDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
}

// The id among the words of one path component, empty when there is none.
std::string_view IdInComponent(std::string_view component) {
    while (!component.empty()) {
        const auto end = std::find_if_not(component.begin(), component.end(), IsLetterOrDigit);
        const auto length = static_cast<std::size_t>(end - component.begin());
        const std::string_view word = component.substr(0, length);
        if (length == kContainerIdLength && std::all_of(word.begin(), word.end(), IsIdDigit)) {
            return word;
        }
        component.remove_prefix(std::min(length + 1, component.size()));
    }
    return {};
}

std::string_view IdInGroupPath(std::string_view path) {
    std::string_view innermost;
    while (!path.empty()) {
        const std::string_view component = TakeUntil(path, '/');
        const std::string_view id = IdInComponent(component);
        if (!id.empty() && component.find("conmon") == std::string_view::npos) {
            innermost = id;
        }
    }
    return innermost;
}

// The id behind a directory that a runtime keeps for its containers, at most one directory (the
// name space of containerd) between the two; with sandboxes, also the one behind "sandboxes".
std::string_view IdInStorePath(std::string_view path, bool sandboxes) {
    std::size_t since_store = 3;
    while (!path.empty()) {
        const std::string_view component = TakeUntil(path, '/');
        if (component == "containers" || component.ends_with("-containers") ||
            (sandboxes && component == "sandboxes")) {
            since_store = 0;
            continue;
        }
        ++since_store;
        if (component.size() == kContainerIdLength && since_store <= 2 &&
            !IdInComponent(component).empty()) {
            return component;
        }
    }
    return {};
}

struct Mount {
    std::string_view root;   // what of its file system is mounted
    std::string_view point;  // where
    std::string_view type;
};

// "ID PARENT MAJOR:MINOR ROOT POINT OPTIONS [TAG...] - TYPE SOURCE OPTIONS"; fields that are not
// there are empty.
Mount ParseMount(std::string_view line) {
    for (int i = 0; i < 3; ++i) {
        TakeUntil(line, ' ');
    }
    Mount mount;
    mount.root = TakeUntil(line, ' ');
    mount.point = TakeUntil(line, ' ');
    while (!line.empty() && TakeUntil(line, ' ') != "-") {
    }
    mount.type = TakeUntil(line, ' ');
    return mount;
}

bool IsRuntimeFile(std::string_view point) {
    static constexpr std::array<std::string_view, 5> kPoints = {
        "/etc/hostname", "/etc/hosts", "/etc/resolv.conf", "/run/.containerenv", "/run/secrets"};
    return std::find(kPoints.begin(), kPoints.end(), point) != kPoints.end();
}

// How well an id found in a mount names the container; the higher the better.
enum class Worth { kNone, kSandbox, kStore, kOwn };

struct Candidate {
    Worth worth = Worth::kNone;
    std::string_view id;
};

Candidate Judge(const Mount& mount) {
    if (mount.type == "cgroup" || mount.type == "cgroup2") {
        const std::string_view id = IdInGroupPath(mount.root);
        return {id.empty() ? Worth::kNone : Worth::kOwn, id};
    }
    if (!IsRuntimeFile(mount.point)) {
        return {};
    }
    if (const std::string_view id = IdInStorePath(mount.root, false); !id.empty()) {
        return {mount.point == "/run/secrets" ? Worth::kOwn : Worth::kStore, id};
    }
    const std::string_view id = IdInStorePath(mount.root, true);
    return {id.empty() ? Worth::kNone : Worth::kSandbox, id};
}

}  // namespace

std::string_view ContainerIdInCgroup(std::string_view text) {
    while (!text.empty()) {
        std::string_view path = TakeUntil(text, '\n');
        TakeUntil(path, ':');
        TakeUntil(path, ':');
        if (const std::string_view id = IdInGroupPath(path); !id.empty()) {
            return id;
        }
    }
    return {};
}

std::string_view ContainerIdInMountinfo(std::string_view text) {
    Candidate best;
    while (!text.empty()) {
        const Candidate candidate = Judge(ParseMount(TakeUntil(text, '\n')));
        if (candidate.worth > best.worth) {
            best = candidate;
        }
    }
    return best.id;
}

}  // namespace kxebase
