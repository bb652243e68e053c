// A process as the kernel shows it.
#ifndef KX_APPS_KXECTL_PROCESS_H
#define KX_APPS_KXECTL_PROCESS_H

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kxectl {

// When a process started, in clock ticks since the boot, by the text of its /proc/PID/stat. Nothing
// when that is none. A program's name there may hold anything, brackets too.
std::optional<std::uint64_t> StartTicks(std::string_view stat);

// The time of the boot in seconds since the epoch, by the text of /proc/stat.
std::optional<std::uint64_t> BootTime(std::string_view stat);

// When the process started, to the second. Nothing when it has gone.
std::optional<std::time_t> StartTime(pid_t pid);

// The file that the process runs; empty when this process may not know it.
std::string ProgramOf(pid_t pid);

// Of the text of /proc/PID/maps the first file below `root` that is not there any more, removed or
// replaced while the process runs it. Empty when there is none.
std::string ReplacedFile(std::string_view maps, const std::filesystem::path& root);

// The same for a process; empty as well when this process may not know.
std::string ReplacedFileOf(pid_t pid, const std::filesystem::path& root);

// "2026-11-21T19:00:00Z"
std::string UtcText(std::time_t time);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_PROCESS_H
