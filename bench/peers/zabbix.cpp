#include <unistd.h>

#include <string>
#include <vector>

#include "child.h"
#include "loopback.h"
#include "peer.h"
#include "report.h"

namespace {

constexpr const char* kItems[] = {
    "system.cpu.util",  "vm.memory.size[total]", "vm.memory.size[available]",
    "system.hostname",  "system.uname",          "system.sw.os",
    "system.sw.arch",   "net.if.discovery",      "system.hw.macaddr",
    "system.users.num", "agent.version"};
constexpr std::size_t kHeaderSize = 13;

// The frame of its protocol: a mark, a version, and the length in eight bytes, the lowest first.
std::string Frame(const std::string& item) {
    std::string frame = std::string("ZBXD\1", 5) + std::string(8, '\0') + item;
    frame[5] = static_cast<char>(item.size());
    return frame;
}

// Answers for single items, each on a connection of its own; some it collects every second.
class ZabbixAgent : public Peer {
  public:
    explicit ZabbixAgent(const Packages& packages)
        : port_(FreePort()),
          version_(packages.Version("zabbix-agent")),
          child_(packages.File("usr/sbin/zabbix_agentd"),
                 {"-f", "-c", packages.Write("zabbix_agentd.conf", Settings(packages))},
                 {packages.LibraryPath()}, STDERR_FILENO) {}

    std::string name() const override { return "Zabbix agent " + version_; }
    pid_t process() const override { return child_.pid(); }

    void Collect() override {
        for (const char* item : kItems) {
            const std::string answer = Exchange(port_, Frame(item));
            if (answer.size() <= kHeaderSize || answer.find("ZBX_NOTSUPPORTED") != answer.npos) {
                kxbench::Fail(std::string("the Zabbix agent does not tell ") + item);
            }
        }
    }

  private:
    std::string Settings(const Packages& packages) const {
        return "PidFile=" + (packages.folder() / "zabbix_agentd.pid").string() +
               "\nLogType=console\nServer=127.0.0.1\nListenIP=127.0.0.1\nListenPort=" +
               std::to_string(port_) + "\nHostname=localhost\nAllowRoot=1\n";
    }

    int port_;
    std::string version_;
    kxbench::Child child_;
};

}  // namespace

std::unique_ptr<Peer> StartZabbixAgent(const Packages& packages) {
    return std::make_unique<ZabbixAgent>(packages);
}
