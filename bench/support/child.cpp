#include "child.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "report.h"

namespace kxbench {
namespace {

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

Child::Child(const std::string& program, const std::vector<std::string>& arguments,
             const std::vector<std::string>& environment, int standard_output)
    : pid_(-1) {
    // All that allocates happens before the fork.
    std::vector<std::string> argument_texts = {program};
    argument_texts.insert(argument_texts.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment_texts = environment;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        environment_texts.emplace_back(*variable);
    }
    const std::vector<char*> argument_list = Pointers(argument_texts);
    const std::vector<char*> environment_list = Pointers(environment_texts);
    pid_ = fork();
    if (pid_ == 0) {
        (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
        (void)dup2(standard_output, STDOUT_FILENO);
        (void)execve(program.c_str(), argument_list.data(), environment_list.data());
        _exit(127);
    }
    if (pid_ < 0) {
        Fail("cannot make a process");
    }
}

Child::~Child() {
    (void)kill(pid_, SIGTERM);
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
}

std::string OwnProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

std::string OwnInstallation() {
    return std::filesystem::path(OwnProgram()).parent_path().parent_path().string();
}

}  // namespace kxbench
