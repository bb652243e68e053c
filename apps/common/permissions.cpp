#include "common/permissions.h"

#include <sys/stat.h>

#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace kxapp {

namespace {

class Inspection {
  public:
    Inspection(fs::path root, uid_t user, std::size_t most)
        : m_root(std::move(root)), m_bus(m_root / "var/run/ipc"), m_user(user), m_most(most) {}

    std::vector<LooseFile> Run() {
        if (IsOurs(m_root)) {
            for (const char* const name : {"bin", "lib", "config", "var"}) {
                if (IsOurs(m_root / name)) {
                    LookInto(m_root / name);
                }
            }
        }
        return std::move(m_found);
    }

  private:
    void LookInto(const fs::path& directory) {
        std::error_code ignored;
        fs::recursive_directory_iterator entry(directory, ignored);
        for (; entry != fs::end(entry); entry.increment(ignored)) {
            if (m_found.size() == m_most) {
                return;
            }
            if (!IsOurs(entry->path()) || entry->path() == m_bus) {
                entry.disable_recursion_pending();
            }
        }
    }

    // True as well for what is no file and no directory, and for what cannot be looked at.
    bool IsOurs(const fs::path& path) {
        struct stat status {};
        if (stat(path.c_str(), &status) != 0 ||
            (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))) {
            return true;
        }
        const auto rule = path == m_bus ? WhoElseWritesToBus : WhoElseWrites;
        const Stranger stranger = rule(status.st_mode, status.st_uid, m_user);
        if (stranger != Stranger::kNobody && m_found.size() < m_most) {
            m_found.push_back({path, status.st_mode & 07777U, status.st_uid, stranger});
        }
        return stranger == Stranger::kNobody;
    }

    const fs::path m_root;
    const fs::path m_bus;
    const uid_t m_user;
    const std::size_t m_most;
    std::vector<LooseFile> m_found;
};

}  // namespace

const char* NameOf(Stranger stranger) {
    switch (stranger) {
        case Stranger::kOwner:
            return "its owner";
        case Stranger::kGroup:
            return "its group";
        default:
            return "everybody";
    }
}

Stranger WhoElseWrites(mode_t mode, uid_t owner, uid_t user) {
    if ((mode & S_IWOTH) != 0) {
        return Stranger::kEverybody;
    }
    if ((mode & S_IWGRP) != 0) {
        return Stranger::kGroup;
    }
    return owner == 0 || owner == user ? Stranger::kNobody : Stranger::kOwner;
}

Stranger WhoElseWritesToBus(mode_t mode, uid_t owner, uid_t user) {
    return WhoElseWrites(mode & ~mode_t{S_IWGRP}, owner, user);
}

std::vector<LooseFile> FindLooseFiles(const fs::path& root, uid_t user, std::size_t most) {
    return Inspection(root, user, most).Run();
}

}  // namespace kxapp
