// Who else can change what the host runs and obeys. Programs, libraries and files of the
// installation are trusted (SECURITY.md), so whoever can write to them can do all that the host
// can.
#ifndef KX_APPS_COMMON_PERMISSIONS_H
#define KX_APPS_COMMON_PERMISSIONS_H

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <vector>

namespace kxapp {

// Who can change a file, besides root and the user that the host runs as.
enum class Stranger { kNobody, kOwner, kGroup, kEverybody };

// "its owner", "its group" or "everybody".
const char* NameOf(Stranger stranger);

// Of several the one that is the most people. `mode` is that of stat(2). The sticky bit and the
// group of root make no difference: whoever may add a file to config/ need not replace one. An
// access control list that lets somebody write shows in the group's bit, which is its mask.
Stranger WhoElseWrites(mode_t mode, uid_t owner, uid_t user);

// The same for the directory of the bus, whose group is let in on purpose (allowed_gids).
Stranger WhoElseWritesToBus(mode_t mode, uid_t owner, uid_t user);

// A file or directory that somebody else can change.
struct LooseFile {
    std::filesystem::path path;
    mode_t mode;  // without the file's type
    uid_t owner;
    Stranger stranger;
};

// Those among the installation's root directory, its bin, lib, config and var and what is in them,
// for a host that runs as `user`; the first `most` of them. What is in a directory that is among
// them is not looked at. What is missing or cannot be looked at is passed over. Links count as what
// they lead to, and linked directories are not entered. Changes nothing.
std::vector<LooseFile> FindLooseFiles(const std::filesystem::path& root, uid_t user,
                                      std::size_t most);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_PERMISSIONS_H
