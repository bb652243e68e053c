#include "common/listener.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>

#include "common/descriptor.h"

namespace kxapp {

namespace {

// The path leads through the directory's descriptor, since the installation's own may be longer
// than an address can hold.
bool SetAddress(int directory, const std::string& file, sockaddr_un& address) {
    const std::string path = "/proc/self/fd/" + std::to_string(directory) + "/" + file;
    address.sun_family = AF_UNIX;
    return path.copy(address.sun_path, sizeof address.sun_path - 1) == path.size();
}

}  // namespace

Listener FindListener(const std::filesystem::path& root, const std::string& name) {
    const Descriptor directory(
        open((root / "var/run/ipc").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (directory.number() < 0) {
        return {errno};
    }
    const Descriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (connection.number() < 0) {
        return {errno};
    }
    sockaddr_un address{};
    if (!SetAddress(directory.number(), name + ".sock", address)) {
        return {ENAMETOOLONG};
    }
    if (connect(connection.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
        0) {
        return {errno};
    }
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(connection.number(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        return {errno};
    }
    return {0, peer.pid, peer.uid};
}

}  // namespace kxapp
