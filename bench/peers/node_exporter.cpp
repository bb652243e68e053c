#include <unistd.h>

#include <string>
#include <vector>

#include "child.h"
#include "loopback.h"
#include "peer.h"
#include "report.h"

namespace {

constexpr const char* kCollectors[] = {"cpu",      "meminfo", "stat", "netdev",
                                       "netclass", "uname",   "os"};

// Collects whenever it is asked over HTTP.
class NodeExporter : public Peer {
  public:
    explicit NodeExporter(const Packages& packages)
        : port_(FreePort()),
          version_(packages.Version("prometheus-node-exporter")),
          child_(packages.File("usr/bin/prometheus-node-exporter"), Arguments(), {},
                 STDERR_FILENO) {}

    std::string name() const override { return "Prometheus node exporter " + version_; }
    pid_t process() const override { return child_.pid(); }

    void Collect() override {
        const std::string answer = Exchange(
            port_, "GET /metrics HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
        for (const char* fact : {"node_cpu_seconds_total{", "node_memory_MemTotal_bytes ",
                                 "node_network_info{", "node_uname_info{", "node_os_info{"}) {
            if (answer.find(fact) == answer.npos) {
                kxbench::Fail(std::string("the node exporter does not tell ") + fact);
            }
        }
    }

  private:
    std::vector<std::string> Arguments() const {
        std::vector<std::string> arguments = {
            "--web.listen-address=127.0.0.1:" + std::to_string(port_),
            "--collector.disable-defaults"};
        for (const char* collector : kCollectors) {
            arguments.push_back(std::string("--collector.") + collector);
        }
        return arguments;
    }

    int port_;
    std::string version_;
    kxbench::Child child_;
};

}  // namespace

std::unique_ptr<Peer> StartNodeExporter(const Packages& packages) {
    return std::make_unique<NodeExporter>(packages);
}
