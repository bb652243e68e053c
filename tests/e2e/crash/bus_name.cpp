#include "bus_name.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>

namespace kxtest {
namespace {

class Descriptor {
  public:
    explicit Descriptor(int value) : m_value(value) {}
    ~Descriptor() { close(m_value); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_value; }

  private:
    int m_value;
};

}  // namespace

pid_t HolderOfBusName(const std::filesystem::path& directory, const std::string& name) {
    // By way of its directory's descriptor: the whole path may be longer than an address.
    const Descriptor opened(open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s.sock",
                  opened.get(), name.c_str());
    ucred holder = {};
    socklen_t size = sizeof holder;
    const bool taken =
        connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &holder, &size) == 0;
    return taken ? holder.pid : 0;
}

}  // namespace kxtest
