// Host and manager of an installation.
#ifndef KXEPINFO_BENCH_SUPPORT_AGENT_H
#define KXEPINFO_BENCH_SUPPORT_AGENT_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "child.h"
#include "lines.h"

namespace kxbench {

// What an upload carries besides resource usage.
enum class Content { kNothingElse, kAgentFacts, kOther };

class Agent {
  public:
    // Writes the installation's settings, for an upload every `interval` seconds, and starts both.
    // `environment` is added to the host's. Ends the program when they do not start.
    Agent(const std::string& installation, int interval,
          const std::vector<std::string>& environment);

    pid_t host() const { return host_->pid(); }

    // How many there were so far.
    int uploads() const { return count_; }

    // Sees that the next upload can carry that: for the agent facts, the agent is of another
    // version from now on.
    void Prepare(Content content);

    // Waits for the next upload. Ends the program when none comes within two intervals.
    Content NextUpload();

    // The same, and whether it carries that. Agent facts go out in every 16th upload, and when the
    // machine's own have changed. Ends the program when that happens too often.
    bool IsNextUpload(Content expected);

    // Waits until uploads carry nothing else than resource usage. Ends the program when they do not
    // come to that.
    void Settle();

  private:
    void WriteVersions();

    std::string installation_;
    int interval_;
    int version_ = 0;
    int count_ = 0;
    int unexpected_ = 0;
    Lines uploads_;
    std::optional<Child> manager_;
    std::optional<Child> host_;
};

}  // namespace kxbench

#endif  // KXEPINFO_BENCH_SUPPORT_AGENT_H
