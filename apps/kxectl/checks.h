// What doctor looks at. Each function appends its findings; none changes anything. `root` is the
// installation's.
#ifndef KX_APPS_KXECTL_CHECKS_H
#define KX_APPS_KXECTL_CHECKS_H

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "common/listener.h"
#include "kxectl/finding.h"
#include "kxectl/settings.h"

namespace kxectl {

// Files that somebody else than root and `user`, who runs the host, can change.
void CheckPermissions(const std::filesystem::path& root, uid_t user, Findings& findings);

// Files that come with an installation and are missing or cannot be read by this process.
void CheckFiles(const std::filesystem::path& root, Findings& findings);

// Flags that keep the agent from its work or wait for a restart.
void CheckFlags(const std::filesystem::path& root, Findings& findings);

// Values that do not count, and files with values that cannot be read.
void CheckSettings(const std::vector<Setting>& settings, Findings& findings);

// The agent's id and the versions in agent_cfg.json.
void CheckState(const std::filesystem::path& root, Findings& findings);

// Whether the module with all its libraries can be loaded. That is tried in a child process, since
// a library's code runs while it is loaded.
void CheckModule(const std::filesystem::path& root, Findings& findings);

// Whether the log can be written, by this process. The second one tells what it means that `path`
// cannot be written to by `user`, who asks; `failure` is an errno value.
void CheckLogDirectory(const std::filesystem::path& root, Findings& findings);
void JudgeLogDirectory(const std::string& path, int failure, uid_t user, Findings& findings);

inline constexpr std::uint64_t kLeastFreeBytes = std::uint64_t{64} << 20;

// What a full disk means for var. `total_files` is 0 where the file system counts none.
void CheckSpace(const std::filesystem::path& root, Findings& findings);
void JudgeSpace(const std::string& path, std::uint64_t free_bytes, std::uint64_t free_files,
                std::uint64_t total_files, Findings& findings);

// Whether the machine's clock, at `now`, is behind the installation's own files.
void CheckClock(const std::filesystem::path& root, std::time_t now, Findings& findings);

// Whether the host runs what is installed now; of a process 0 nothing is known.
void CheckRunningFiles(const std::filesystem::path& root, pid_t host, Findings& findings);

// Names on the bus that nobody has taken, or that this process cannot reach.
void JudgeListener(const std::string& name, const kxapp::Listener& listener, Findings& findings);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_CHECKS_H
