#include "bare_walk.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

#include "report.h"

void WalkBarely() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        kxbench::Fail("the kernel does not tell its addresses");
    }
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr) {
            continue;
        }
        const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        ifreq request{};
        (void)std::strncpy(request.ifr_name, entry->ifa_name, sizeof request.ifr_name - 1);
        if (descriptor < 0 || ioctl(descriptor, SIOCGIFHWADDR, &request) != 0 ||
            ioctl(descriptor, SIOCGIFFLAGS, &request) != 0) {
            kxbench::Fail("the kernel does not tell about an interface");
        }
        (void)close(descriptor);
    }
    freeifaddrs(first);
}
