#include <unistd.h>

#include <string>
#include <vector>

#include "child.h"
#include "loopback.h"
#include "peer.h"
#include "report.h"

namespace {

// Its first packet is complete only after several collections.
constexpr int kCallsBeforeFirst = 5;

// Collects by itself and sends what it has found; so all that is seen to is that it does.
class Collectd : public Peer {
  public:
    Collectd(const Packages& packages, int interval)
        : version_(packages.Version("collectd-core")),
          child_(packages.File("usr/sbin/collectd"),
                 {"-f", "-C", packages.Write("collectd.conf", Settings(packages, interval))},
                 {packages.LibraryPath()}, STDERR_FILENO) {}

    std::string name() const override { return "collectd " + version_; }
    pid_t process() const override { return child_.pid(); }

    void Collect() override {
        received_ += receiver_.Take();
        if (received_ == 0 && ++calls_ == kCallsBeforeFirst) {
            kxbench::Fail("collectd has sent nothing");
        }
    }

  private:
    std::string Settings(const Packages& packages, int interval) const {
        std::string text = "Hostname \"localhost\"\nFQDNLookup false\n";
        text += "BaseDir \"" + packages.folder().string() + "\"\n";
        text += "PIDFile \"" + (packages.folder() / "collectd.pid").string() + "\"\n";
        text += "PluginDir \"" + packages.File("usr/lib/collectd").string() + "\"\n";
        text += "TypesDB \"" + packages.File("usr/share/collectd/types.db").string() + "\"\n";
        text += "Interval " + std::to_string(interval) + "\n";
        for (const char* plugin : {"cpu", "memory", "interface", "users", "network"}) {
            text += std::string("LoadPlugin ") + plugin + "\n";
        }
        text += "<Plugin network>\n  Server \"127.0.0.1\" \"" + std::to_string(receiver_.port()) +
                "\"\n</Plugin>\n";
        return text;
    }

    Receiver receiver_;
    std::size_t received_ = 0;
    int calls_ = 0;
    std::string version_;
    kxbench::Child child_;
};

}  // namespace

std::unique_ptr<Peer> StartCollectd(const Packages& packages, int interval) {
    return std::make_unique<Collectd>(packages, interval);
}
