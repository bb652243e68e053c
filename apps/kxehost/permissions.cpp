#include "kxehost/permissions.h"

#include <sys/stat.h>
#include <unistd.h>

#include <system_error>

#include "common/complain.h"

namespace fs = std::filesystem;

namespace kxehost {

namespace {

const char* Name(Stranger stranger) {
    switch (stranger) {
        case Stranger::kOwner:
            return "its owner";
        case Stranger::kGroup:
            return "its group";
        default:
            return "everybody";
    }
}

using Rule = Stranger (*)(mode_t mode, uid_t owner, uid_t user);

class Inspection {
  public:
    explicit Inspection(fs::path root) : m_root(std::move(root)), m_bus(m_root / "var/run/ipc") {}

    void Run() {
        if (!IsOurs(m_root)) {
            return;
        }
        for (const char* const name : {"bin", "lib", "config", "var"}) {
            if (IsOurs(m_root / name)) {
                LookInto(m_root / name);
            }
        }
    }

  private:
    void LookInto(const fs::path& directory) {
        std::error_code ignored;
        fs::recursive_directory_iterator entry(directory, ignored);
        for (; entry != fs::end(entry); entry.increment(ignored)) {
            if (!IsOurs(entry->path()) || entry->path() == m_bus) {
                entry.disable_recursion_pending();
            }
            if (m_complaints > kMostComplaints) {
                return;
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
        const Rule rule = path == m_bus ? WhoElseWritesToBus : WhoElseWrites;
        const Stranger stranger = rule(status.st_mode, status.st_uid, geteuid());
        if (stranger != Stranger::kNobody) {
            Tell(path, status, stranger);
        }
        return stranger == Stranger::kNobody;
    }

    void Tell(const fs::path& path, const struct stat& status, Stranger stranger) {
        ++m_complaints;
        if (m_complaints <= kMostComplaints) {
            kxapp::Complain("%s can be changed by %s (mode %04o, owner %u): see SECURITY.md",
                            path.c_str(), Name(stranger), status.st_mode & 07777U, status.st_uid);
        } else {
            kxapp::Complain("more files can be changed by others: see SECURITY.md");
        }
    }

    const fs::path m_root;
    const fs::path m_bus;
    int m_complaints = 0;
};

}  // namespace

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

void ComplainOfPermissions(const fs::path& root) {
    Inspection(root).Run();
}

}  // namespace kxehost
