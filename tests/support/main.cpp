// main of every unit-test program: runs the tests from inside a temporary installation.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

constexpr char kInside[] = "KX_TEST_INSIDE_INSTALLATION";

bool OnlyLists(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "--gtest_list_tests", 18) == 0) {
            return true;
        }
    }
    return false;
}

// Beside the program, so that it can be linked instead of copied.
std::string MakeRoot(const fs::path& program) {
    std::string root = program.string() + ".XXXXXX";
    if (mkdtemp(root.data()) == nullptr) {
        std::perror("mkdtemp");
        std::exit(EXIT_FAILURE);
    }
    return root;
}

int RunInside(char** argv) {
    const fs::path program = fs::read_symlink("/proc/self/exe");
    const fs::path root = MakeRoot(program);
    const fs::path inside = root / "bin" / program.filename();
    fs::create_directory(root / "bin");
    fs::create_hard_link(program, inside);

    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        setenv(kInside, "1", 1);
        execv(inside.c_str(), argv);
        std::perror("execv");
        _exit(EXIT_FAILURE);
    }
    int status = 0;
    const bool waited = child > 0 && waitpid(child, &status, 0) == child;
    std::error_code ignored;
    fs::remove_all(root, ignored);
    if (!waited) {
        std::perror("running the tests");
        return EXIT_FAILURE;
    }
    if (WIFSIGNALED(status)) {
        std::fprintf(stderr, "the tests were ended by signal %d\n", WTERMSIG(status));
        return EXIT_FAILURE;
    }
    return WEXITSTATUS(status);
}

}  // namespace

int main(int argc, char** argv) {
    if (std::getenv(kInside) == nullptr && !OnlyLists(argc, argv)) {
        return RunInside(argv);
    }
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
