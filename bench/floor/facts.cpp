#include "facts.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "commands.h"

namespace {

constexpr std::size_t kFileSize = 16384;

void Require(bool done, const char* what) {
    if (!done) {
        (void)std::fprintf(stderr, "cannot read %s\n", what);
        std::exit(EXIT_FAILURE);
    }
}

// As text; of a longer file the beginning. `from` counts from the end when it is negative.
std::size_t ReadFile(const char* path, char* text, std::size_t size, off_t from = 0) {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    Require(file >= 0 && (from == 0 || lseek(file, from, SEEK_END) >= 0 || errno == EINVAL), path);
    const ssize_t length = read(file, text, size - 1);
    Require(length >= 0, path);
    (void)close(file);
    text[length] = '\0';
    return static_cast<std::size_t>(length);
}

unsigned NumberAfter(const char* text, const char* name) {
    const char* const found = std::strstr(text, name);
    Require(found != nullptr, name);
    return static_cast<unsigned>(std::strtoul(found + std::strlen(name), nullptr, 10));
}

bool IsUp(const char* interface, std::string& mac) {
    const int requests = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strncpy(request.ifr_name, interface, sizeof request.ifr_name - 1);
    Require(requests >= 0 && ioctl(requests, SIOCGIFHWADDR, &request) == 0, interface);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(request.ifr_hwaddr.sa_data);
    char text[18];
    (void)std::snprintf(text, sizeof text, "%02X-%02X-%02X-%02X-%02X-%02X", bytes[0], bytes[1],
                        bytes[2], bytes[3], bytes[4], bytes[5]);
    mac = text;
    Require(ioctl(requests, SIOCGIFFLAGS, &request) == 0, interface);
    (void)close(requests);
    return (request.ifr_flags & IFF_UP) != 0;
}

// Empty for what is no address of the internet.
std::string AddressText(const sockaddr& address) {
    char text[INET6_ADDRSTRLEN] = {};
    if (address.sa_family == AF_INET) {
        (void)inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in&>(address).sin_addr, text,
                        sizeof text);
    } else if (address.sa_family == AF_INET6) {
        (void)inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr, text,
                        sizeof text);
    }
    return text;
}

}  // namespace

LoadCounters ReadLoad() {
    char text[1024];
    (void)ReadFile("/proc/stat", text, sizeof text);
    unsigned long long user = 0;
    unsigned long long nice = 0;
    unsigned long long system = 0;
    unsigned long long idle = 0;
    Require(std::sscanf(text, "cpu %llu %llu %llu %llu", &user, &nice, &system, &idle) == 4,
            "/proc/stat");
    return {user + nice + system, idle};
}

void AddResources(const LoadCounters& first, const LoadCounters& second,
                  bf_kxepinfo::epinfo& upload) {
    char text[4096];
    (void)ReadFile("/proc/meminfo", text, sizeof text);
    const unsigned long long used = second.used - first.used;
    const unsigned long long all = used + second.idle - first.idle;
    const unsigned total = NumberAfter(text, "MemTotal:");
    bf_kxepinfo::epinfo_msg_rc& record = *upload.mutable_rc_info();
    record.set_cpu_usage(all == 0 ? 0 : static_cast<unsigned>(used * 10000 / all));
    record.set_mem_total(total);
    record.set_mem_usaged(total - NumberAfter(text, "MemFree:"));
}

void AddAdapters(bf_kxepinfo::epinfo& upload) {
    ifaddrs* first = nullptr;
    Require(getifaddrs(&first) == 0, "the adapters");
    std::string mac;
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || !IsUp(entry->ifa_name, mac)) {
            continue;
        }
        std::string address = AddressText(*entry->ifa_addr);
        if (!address.empty()) {
            auto& adapter = *upload.mutable_sys_info()->mutable_nw_info()->add_if_info();
            adapter.set_if_mac(mac);
            *adapter.add_if_ipv4() = std::move(address);
        }
    }
    freeifaddrs(first);
}

void AddSystem(const std::string& root, bf_kxepinfo::epinfo& upload) {
    utsname names{};
    char machine[64];
    Require(uname(&names) == 0, "the kernel's names");
    Require(kxbench::RunSystemCommands(root + "/bin"), "what the two programs print");
    // Not every machine has firmware with a number, but each is asked.
    if (const int firmware = open("/sys/class/dmi/id/product_uuid", O_RDONLY | O_CLOEXEC);
        firmware >= 0) {
        (void)!read(firmware, machine, sizeof machine);
        (void)close(firmware);
    }
    (void)ReadFile("/etc/machine-id", machine, sizeof machine);
    bf_kxepinfo::epinfo_msg_base& record = *upload.mutable_sys_info()->mutable_base_info();
    record.set_host_node(names.nodename);
    record.set_sys_release(names.release);
    record.set_sys_version(names.version);
    record.set_sys_machine(names.machine);
    record.set_cpu_core(static_cast<int>(sysconf(_SC_NPROCESSORS_CONF)));
    record.set_uvmid(std::strtoull(machine, nullptr, 16));
}

void AddVersions(const std::string& root, bf_kxepinfo::epinfo& upload) {
    char text[kFileSize];
    bf_kxepinfo::epinfo_msg_agentinfo& record = *upload.mutable_sys_info()->mutable_agent_info();
    record.set_mgr_addr(text, ReadFile((root + "/config/server.ini").c_str(), text, sizeof text));
    record.set_agent_version(
        text, ReadFile((root + "/config/agent_cfg.json").c_str(), text, sizeof text));
    (void)ReadFile((root + "/var/connect.ini").c_str(), text, sizeof text);
}

void AddLogin(bf_kxepinfo::epinfo& upload) {
    char bytes[sizeof(utmp) + 1];
    utmp login{};
    if (ReadFile("/var/log/wtmp", bytes, sizeof bytes, -off_t{sizeof login}) == sizeof login) {
        std::memcpy(&login, bytes, sizeof login);
        auto& record = *upload.mutable_login_info()->add_usr_info();
        record.set_login_name(login.ut_user, strnlen(login.ut_user, sizeof login.ut_user));
    }
}
