// What the host says of an installation that somebody else can change.
#ifndef KX_APPS_KXEHOST_PERMISSIONS_H
#define KX_APPS_KXEHOST_PERMISSIONS_H

#include <cstddef>
#include <filesystem>

namespace kxehost {

// Complains, a line each (common/complain.h), about what somebody else than root and this process's
// user can change (common/permissions.h). kMostComplaints are followed by one line that says that
// there are more.
void ComplainOfPermissions(const std::filesystem::path& root);

inline constexpr std::size_t kMostComplaints = 20;

}  // namespace kxehost

#endif  // KX_APPS_KXEHOST_PERMISSIONS_H
