// Who listens on the bus under a name, without joining it.
#ifndef KX_APPS_COMMON_LISTENER_H
#define KX_APPS_COMMON_LISTENER_H

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace kxapp {

struct Listener {
    int failure = 0;  // 0, or why nobody could be asked, an errno value; ENOENT and ECONNREFUSED
                      // say that nobody listens
    pid_t pid = 0;    // 0 when it is in another process namespace; a failure: 0
    uid_t user = 0;
};

// The process behind the socket of `name` in the installation, by the kernel's word. The connection
// is closed again before a byte is sent. Nothing is made.
Listener FindListener(const std::filesystem::path& root, const std::string& name);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_LISTENER_H
