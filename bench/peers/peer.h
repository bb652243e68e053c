// A program that collects facts about the machine, from a Debian package, while the object lives.
#ifndef KXEPINFO_BENCH_PEERS_PEER_H
#define KXEPINFO_BENCH_PEERS_PEER_H

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <string>

// Where prepare has put the packages.
class Packages {
  public:
    explicit Packages(std::filesystem::path folder) : folder_(std::move(folder)) {}

    std::filesystem::path File(const std::string& path) const { return folder_ / "root" / path; }

    // For the environment of a program: where it finds its libraries.
    std::string LibraryPath() const;

    // Of a package; ends the program when it is not there.
    std::string Version(const std::string& package) const;

    // Writes a file of settings and returns its path.
    std::string Write(const std::string& name, const std::string& text) const;

    const std::filesystem::path& folder() const { return folder_; }

  private:
    std::filesystem::path folder_;
};

class Peer {
  public:
    virtual ~Peer() = default;

    virtual std::string name() const = 0;
    virtual pid_t process() const = 0;

    // Has it collect once more, or makes sure that it has since the last call, and that the facts
    // were told. Ends the program otherwise.
    virtual void Collect() = 0;
};

// Each runs in the foreground, on the loop-back interface alone, as it is configured by its package
// as far as that says nothing about what is collected. `interval` is in seconds.
std::unique_ptr<Peer> StartCollectd(const Packages& packages, int interval);
std::unique_ptr<Peer> StartNodeExporter(const Packages& packages);
std::unique_ptr<Peer> StartZabbixAgent(const Packages& packages);

#endif  // KXEPINFO_BENCH_PEERS_PEER_H
