#include "e2e.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "common/listener.h"

namespace fs = std::filesystem;

namespace kxtest {
namespace {

fs::path MakeTemporaryDirectory() {
    std::string name = std::string(KX_E2E_FOLDER) + "/run.XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), name);
    }
    return name;
}

std::string Slurp(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Programs and libraries are linked, everything else is the test's own to change.
void CopyTree(const fs::path& from, const fs::path& to) {
    for (const auto& entry : fs::recursive_directory_iterator(from)) {
        const fs::path relative = fs::relative(entry.path(), from);
        if (entry.is_directory()) {
            fs::create_directories(to / relative);
        } else if (*relative.begin() == "bin" || *relative.begin() == "lib") {
            fs::create_directories((to / relative).parent_path());
            fs::create_hard_link(entry.path(), to / relative);
        } else {
            fs::create_directories((to / relative).parent_path());
            fs::copy_file(entry.path(), to / relative);
        }
    }
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> Environment(const std::map<std::string, std::string>& added) {
    std::vector<std::string> all;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (!added.contains(text.substr(0, text.find('=')))) {
            all.push_back(text);
        }
    }
    for (const auto& [name, value] : added) {
        all.push_back(name);
        all.back().append("=").append(value);
    }
    return all;
}

}  // namespace

bool WaitUntil(const std::function<bool()>& fact, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!fact()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

AgentInstallation::AgentInstallation(const std::string& name)
    : m_temporary(MakeTemporaryDirectory()), m_root(m_temporary / name) {
    umask(022);  // of what is installed and of what is started: a host tells of looser permissions
    CopyTree(KX_E2E_INSTALLED, m_root);
}

AgentInstallation::~AgentInstallation() {
    std::error_code ignored;
    fs::remove_all(m_temporary, ignored);
}

void AgentInstallation::write(std::string_view relative, std::string_view content) const {
    const fs::path file = path(relative);
    fs::create_directories(file.parent_path());
    std::error_code missing;
    if (fs::hard_link_count(file, missing) > 1 && !missing) {
        fs::remove(file);  // other installations have it, too
    }
    std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
}

std::string AgentInstallation::read(std::string_view relative) const {
    return Slurp(path(relative));
}

void AgentInstallation::set_interval(int seconds) const {
    write("config/kxepinfocfg.ini", "[flushgap]\nvalue=" + std::to_string(seconds) + "\n");
}

void AgentInstallation::set_log_level(int level) const {
    write("config/log/agent/kxepinfo/agent/log.ini",
          "[log]\nlevel=" + std::to_string(level) + "\n");
}

bool AgentInstallation::wait_for_log(std::string_view text) const {
    return WaitUntil([&] { return log().find(text) != std::string::npos; });
}

bool AgentInstallation::wait_for_bus(std::string_view name) const {
    // Its socket alone would not do: it is there a moment before the program listens.
    return WaitUntil([&] { return kxapp::FindListener(m_root, std::string(name)).failure == 0; });
}

std::size_t CountOf(std::string_view whole, std::string_view text) {
    std::size_t count = 0;
    for (std::size_t at = whole.find(text); at != std::string_view::npos;
         at = whole.find(text, at + text.size())) {
        ++count;
    }
    return count;
}

Program::Program(const fs::path& file, std::vector<std::string> arguments)
    : Program(file, std::move(arguments), Options{}) {}

Program::Program(const fs::path& file, std::vector<std::string> arguments, const Options& options)
    : m_directory(MakeTemporaryDirectory()) {
    std::ofstream(m_directory / "stdin", std::ios::binary) << options.standard_input;
    arguments.insert(arguments.begin(), file.string());
    std::vector<std::string> environment = Environment(options.environment);

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    const int write_flags = O_WRONLY | O_CREAT | O_APPEND;
    posix_spawn_file_actions_addopen(&files, 0, (m_directory / "stdin").c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, (m_directory / "stdout").c_str(), write_flags,
                                     0600);
    posix_spawn_file_actions_addopen(&files, 2, (m_directory / "stderr").c_str(), write_flags,
                                     0600);
    const int failure = posix_spawn(&m_pid, file.c_str(), &files, nullptr,
                                    Pointers(arguments).data(), Pointers(environment).data());
    posix_spawn_file_actions_destroy(&files);
    if (failure != 0) {
        throw std::system_error(failure, std::generic_category(), file.string());
    }
}

Program::~Program() {
    if (running()) {
        signal(SIGKILL);
        wait();
    }
    std::error_code ignored;
    fs::remove_all(m_directory, ignored);
}

void Program::signal(int number) const {
    kill(m_pid, number);
}

bool Program::running() {
    if (m_ended) {
        return false;
    }
    int status = 0;
    if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
        m_ended = true;
        m_status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }
    return !m_ended;
}

int Program::wait(std::chrono::milliseconds limit) {
    WaitUntil([this] { return !running(); }, limit);
    return m_status;
}

int Program::stop() {
    signal(SIGTERM);
    return wait();
}

std::string Program::output() const {
    return Slurp(m_directory / "stdout");
}

std::string Program::errors() const {
    return Slurp(m_directory / "stderr");
}

bool Program::wait_for_output(std::string_view text) const {
    return WaitUntil([&] { return output().find(text) != std::string::npos; });
}

std::vector<std::string> Program::wait_for_lines(std::size_t count) const {
    WaitUntil([&] { return CountOf(output(), "\n") >= count; });
    std::vector<std::string> lines;
    const std::string all = output();
    for (std::size_t start = 0, end; (end = all.find('\n', start)) != std::string::npos;
         start = end + 1) {
        lines.push_back(all.substr(start, end - start));
    }
    return lines;
}

Finished RunToEnd(const fs::path& file, std::vector<std::string> arguments,
                  const Program::Options& options) {
    Program program(file, std::move(arguments), options);
    const int status = program.wait();
    return {status, program.output(), program.errors()};
}

Json ParseJson(const std::string& text) {
    json_error_t error;
    return Json(json_loadb(text.data(), text.size(), JSON_ALLOW_NUL, &error));
}

const json_t* Member(const json_t* value, std::string_view path) {
    while (value != nullptr && !path.empty()) {
        const std::string name(path.substr(0, path.find('.')));
        path.remove_prefix(std::min(path.size(), name.size() + 1));
        value = json_is_array(value)
                    ? json_array_get(value, std::strtoul(name.c_str(), nullptr, 10))
                    : json_object_get(value, name.c_str());
    }
    return value;
}

long long Number(const json_t* value, std::string_view path) {
    const json_t* member = Member(value, path);
    if (json_is_integer(member)) {
        return json_integer_value(member);
    }
    long long number = -1;
    if (json_is_string(member)) {
        const char* text = json_string_value(member);
        std::from_chars(text, text + std::strlen(text), number);
    }
    return number;
}

std::string Text(const json_t* value, std::string_view path) {
    const json_t* member = Member(value, path);
    return json_is_string(member)
               ? std::string(json_string_value(member), json_string_length(member))
               : std::string();
}

}  // namespace kxtest
