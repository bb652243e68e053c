// Who may be at the other end of a connection.
#ifndef NOXIPC_ACCESS_RULE_H
#define NOXIPC_ACCESS_RULE_H

#include <sys/socket.h>
#include <sys/types.h>

#include <string_view>
#include <vector>

namespace noxipc {

class AccessRule {
  public:
    // The same user and root only.
    AccessRule() = default;

    // Also the members of these groups.
    explicit AccessRule(std::vector<gid_t> allowed) : allowed_(std::move(allowed)) {}

    // The rule of this installation, from @/../config/ipc.ini. What is wrong in the file is logged
    // and allows nobody. Throws std::bad_alloc.
    static AccessRule Load();

    // Whether the process at the other end of a connected Unix socket may be there. For the side
    // that connects, that is the process that began to listen. Who may not is logged.
    bool Allows(int socket) const;

    // The same for known credentials; `groups` are those besides `credentials.gid`.
    bool Allows(const ucred& credentials, const std::vector<gid_t>& groups) const;

    const std::vector<gid_t>& allowed() const { return allowed_; }

  private:
    std::vector<gid_t> allowed_;
};

// The numbers of a comma-separated list, blanks around them allowed. A part that is not a group id
// is left out and logged.
std::vector<gid_t> ParseGroups(std::string_view text);

}  // namespace noxipc

#endif  // NOXIPC_ACCESS_RULE_H
