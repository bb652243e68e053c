// Many agents on one machine, each in an installation of its own with a bus of its own.
#ifndef KXEPINFO_BENCH_AGENTS_FLEET_H
#define KXEPINFO_BENCH_AGENTS_FLEET_H

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "child.h"
#include "lines.h"

class Fleet {
  public:
    // Starts that many agents, one after the other over `spread_seconds`: a host that tells on
    // `lines` what its cycles cost, and a manager that answers it. The installations are beside the
    // running program's and share its programs and libraries, as containers share those of their
    // image. Ends the program when one does not start.
    Fleet(int agents, double spread_seconds, const kxbench::Lines& lines);
    Fleet(const Fleet&) = delete;
    Fleet& operator=(const Fleet&) = delete;

    // Ends all of them and removes their installations.
    ~Fleet();

    std::vector<pid_t> hosts() const;

  private:
    std::string root_;  // directory of the installations
    std::vector<std::unique_ptr<kxbench::Child>> managers_;
    std::vector<std::unique_ptr<kxbench::Child>> hosts_;
};

#endif  // KXEPINFO_BENCH_AGENTS_FLEET_H
