#include "collectors/interface.h"

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "common/log.h"

namespace {

constexpr char kLogTag[] = "netinfo";

// Any socket takes the requests.
class RequestSocket {
  public:
    RequestSocket() : m_descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}
    ~RequestSocket() {
        if (IsOpen()) {
            (void)close(m_descriptor);
        }
    }
    RequestSocket(const RequestSocket&) = delete;
    RequestSocket& operator=(const RequestSocket&) = delete;

    bool IsOpen() const { return m_descriptor >= 0; }

    bool Ask(unsigned long what, ifreq& request) const {
        if (ioctl(m_descriptor, what, &request) < 0) {
            const int error = errno;
            EP_LOG(kLogError, "ioctl fail with error:%s\n", std::strerror(error));
            return false;
        }
        return true;
    }

  private:
    int m_descriptor;
};

}  // namespace

bool ReadInterface(const char* name, Interface& interface) {
    if (name == nullptr) {
        EP_LOG(kLogError, "getMac fail: input is NULL\n");
        return false;
    }
    const RequestSocket requests;
    if (!requests.IsOpen()) {
        const int error = errno;
        EP_LOG(kLogError, "socket fail: %s\n", std::strerror(error));
        return false;
    }
    // All zero: the kernel writes no more bytes of the hardware address than there are, and ends a
    // name of full width itself.
    ifreq request = {};
    std::memcpy(request.ifr_name, name, strnlen(name, sizeof request.ifr_name));
    if (!requests.Ask(SIOCGIFHWADDR, request)) {
        return false;
    }
    std::memcpy(interface.hardware_address.data(), request.ifr_hwaddr.sa_data,
                interface.hardware_address.size());
    // The answer lies where the hardware address lay.
    if (!requests.Ask(SIOCGIFFLAGS, request)) {
        return false;
    }
    interface.is_up = (request.ifr_flags & IFF_UP) != 0;
    return true;
}

// Without a format: a host of containers has thousands of interfaces.
std::string MacText(const std::array<unsigned char, 6>& hardware_address) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(3 * hardware_address.size());
    for (const unsigned byte : hardware_address) {
        if (!text.empty()) {
            text += '-';
        }
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0xFU];
    }
    return text;
}
