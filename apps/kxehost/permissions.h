// Who else can change what this host runs and obeys. Programs, libraries and files of the
// installation are trusted (SECURITY.md), so whoever can write to them can do all that the host
// can.
#ifndef KX_APPS_KXEHOST_PERMISSIONS_H
#define KX_APPS_KXEHOST_PERMISSIONS_H

#include <sys/types.h>

#include <filesystem>

namespace kxehost {

// Who can change a file, besides root and the user that the host runs as.
enum class Stranger { kNobody, kOwner, kGroup, kEverybody };

// Of several the one that is the most people. `mode` is that of stat(2). The sticky bit and the
// group of root make no difference: whoever may add a file to config/ need not replace one. An
// access control list that lets somebody write shows in the group's bit, which is its mask.
Stranger WhoElseWrites(mode_t mode, uid_t owner, uid_t user);

// The same for the directory of the bus, whose group is let in on purpose (allowed_gids).
Stranger WhoElseWritesToBus(mode_t mode, uid_t owner, uid_t user);

// Complains, a line each (common/complain.h), about the installation's root directory, its bin,
// lib, config and var and what is in them, as far as somebody else can change it. What is in a
// directory that was complained about is not looked at, and kMostComplaints are followed by one
// line that says so. What is missing or cannot be looked at is passed over. Links count as what
// they lead to, and linked directories are not entered. Changes nothing.
void ComplainOfPermissions(const std::filesystem::path& root);

inline constexpr int kMostComplaints = 20;

}  // namespace kxehost

#endif  // KX_APPS_KXEHOST_PERMISSIONS_H
