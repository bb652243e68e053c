// Host and manager of an installation, with an upload every two seconds.
#ifndef KXEPINFO_BENCH_CYCLE_AGENT_H
#define KXEPINFO_BENCH_CYCLE_AGENT_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "child.h"
#include "lines.h"

// What an upload carries besides resource usage.
enum class Content { kNothingElse, kAgentFacts, kOther };

class Agent {
  public:
    // Begins when the uploads carry nothing else any more. `environment` is added to the host's.
    // Writes the installation's settings. Ends the program when there are no uploads.
    Agent(const std::string& installation, const std::vector<std::string>& environment);

    pid_t host() const { return host_->pid(); }

    // How many there were so far.
    int uploads() const { return count_; }

    // Makes the next upload carry the agent facts: the agent is of another version from now on.
    void ChangeVersion();

    // Whether NextUpload would return at once.
    bool HasUpload() { return uploads_.HasNext(); }

    // Waits for the next upload. Ends the program when it carries something else than that.
    void NextUpload(Content expected);

  private:
    Content ReadUpload();

    std::string installation_;
    int version_ = 0;
    int count_ = 0;
    Lines uploads_;
    std::optional<kxbench::Child> manager_;
    std::optional<kxbench::Child> host_;
};

#endif  // KXEPINFO_BENCH_CYCLE_AGENT_H
