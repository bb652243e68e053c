// End-to-end tests: an installation of the test's own, real processes in it, and what they leave
// behind. Everything waits for a fact, with a time limit that only guards against a hang.
#ifndef KXEPINFO_TESTS_SUPPORT_E2E_H
#define KXEPINFO_TESTS_SUPPORT_E2E_H

#include <jansson.h>
#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kxtest {

// Longer than anything takes on a busy machine under a sanitizer.
inline constexpr std::chrono::seconds kHangGuard{60};

// Calls `fact` every few milliseconds until it is true. False when the time limit passed first.
bool WaitUntil(const std::function<bool()>& fact, std::chrono::milliseconds limit = kHangGuard);

// A copy of the installed tree in a temporary directory, removed at the end. Programs and libraries
// are hard links to the installed ones.
class AgentInstallation {
  public:
    // `name` is the directory below the temporary one; a long name gives a long installation path.
    explicit AgentInstallation(const std::string& name = "agent");
    ~AgentInstallation();
    AgentInstallation(const AgentInstallation&) = delete;
    AgentInstallation& operator=(const AgentInstallation&) = delete;

    const std::filesystem::path& root() const { return m_root; }
    std::filesystem::path path(std::string_view relative) const { return m_root / relative; }
    std::filesystem::path program(std::string_view name) const { return m_root / "bin" / name; }

    void write(std::string_view relative, std::string_view content) const;
    // Empty when there is no such file.
    std::string read(std::string_view relative) const;

    // Seconds between two uploads.
    void set_interval(int seconds) const;
    // Level 4 tells the details of each cycle.
    void set_log_level(int level) const;

    // The module's log so far.
    std::string log() const { return read("var/log/agent/kxepinfo/kxepinfo.log"); }
    bool wait_for_log(std::string_view text) const;
    // True once the bus name is taken by a live program.
    bool wait_for_bus(std::string_view name) const;

  private:
    std::filesystem::path m_temporary;
    std::filesystem::path m_root;
};

// How often `text` occurs in `whole`.
std::size_t CountOf(std::string_view whole, std::string_view text);

// A program running with its output kept in files. It is killed at the end of the object's life.
class Program {
  public:
    struct Options {
        std::map<std::string, std::string> environment;  // added to the test's own
        std::string standard_input;
    };

    Program(const std::filesystem::path& file, std::vector<std::string> arguments);
    Program(const std::filesystem::path& file, std::vector<std::string> arguments,
            const Options& options);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t pid() const { return m_pid; }
    void signal(int number) const;
    // The exit status; 128 + N when signal N ended it; -1 when it still runs at the time limit.
    int wait(std::chrono::milliseconds limit = kHangGuard);
    bool running();
    // SIGTERM, then wait.
    int stop();

    std::string output() const;
    std::string errors() const;
    bool wait_for_output(std::string_view text) const;
    // Waits until standard output has that many whole lines, and returns all whole lines.
    std::vector<std::string> wait_for_lines(std::size_t count) const;

  private:
    std::filesystem::path m_directory;
    pid_t m_pid = -1;
    int m_status = -1;
    bool m_ended = false;
};

// Runs a program to its end.
struct Finished {
    int status;
    std::string output;
    std::string errors;
};
Finished RunToEnd(const std::filesystem::path& file, std::vector<std::string> arguments,
                  const Program::Options& options = {});

struct ReleaseJson {
    void operator()(json_t* value) const { json_decref(value); }
};
using Json = std::unique_ptr<json_t, ReleaseJson>;

// Null when the text is not JSON.
Json ParseJson(const std::string& text);

// Follows member names separated by '.', array indices among them: "epinfo.rc_info.cpu_usage". Null
// when a step is missing. The result lives as long as `value`.
const json_t* Member(const json_t* value, std::string_view path);

// The number at that path, written as a JSON number or as text of digits; -1 when there is none.
long long Number(const json_t* value, std::string_view path);
std::string Text(const json_t* value, std::string_view path);

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_E2E_H
