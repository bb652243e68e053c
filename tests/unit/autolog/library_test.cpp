// The shared library: what it exports, and that it can go.
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <thread>

#include "loaded_log.h"
#include "open_files.h"

namespace {

using Library = LogTest;

// LeakSanitizer stops all threads at exit to look at their memory, and falls over one that it stops
// in a library.
bool no_leak_check = false;

std::set<std::string> Exported() {
    std::set<std::string> names;
    FILE* const nm = popen("nm --dynamic --defined-only --format=posix " AUTOLOG_LIBRARY, "re");
    if (nm == nullptr) {
        return names;
    }
    char line[512];
    while (std::fgets(line, sizeof line, nm) != nullptr) {
        const std::string text = line;
        names.insert(text.substr(0, text.find(' ')));
    }
    EXPECT_EQ(pclose(nm), 0);
    return names;
}

}  // namespace

// Asked by LeakSanitizer at exit; nobody else calls it.
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() {
    return no_leak_check ? 1 : 0;
}

TEST_F(Library, ExportsItsInterfaceAndNothingElse) {
    EXPECT_EQ(Exported(),
              (std::set<std::string>{"autolog_init", "error_output", "error_output_check"}));
}

TEST_F(Library, UnloadingClosesTheFile) {
    Unload();
    const std::size_t descriptors = kxtest::OpenDescriptors();
    for (int i = 1; i <= 100; ++i) {
        Load();
        ASSERT_EQ(init(Directory().c_str(), 5), 0);
        output(3, "t", i, "x");
        Unload();
    }
    EXPECT_EQ(kxtest::OpenDescriptors(), descriptors);
    EXPECT_EQ(LoggedTexts().size(), 100U);
    Load();
}

TEST_F(Library, AThreadThatLoggedMayEndAfterUnloading) {
    Unload();
    Load();
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    std::atomic<bool> logged{false};
    std::atomic<bool> unloaded{false};
    std::thread thread([&] {
        output(3, "t", 1, "x");
        logged = true;
        unloaded.wait(false);
    });
    EXPECT_TRUE(WaitUntil([&] { return logged.load(); }));
    Unload();
    unloaded = true;
    unloaded.notify_all();
    thread.join();
    EXPECT_EQ(LoggedTexts().size(), 1U);
}

// At exit the library's own objects go while other threads still log.
TEST_F(Library, AProcessMayEndWhileThreadsLog) {
    for (int round = 0; round < 10; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            no_leak_check = true;
            const ErrorStreamCapture captured;
            (void)init(Directory().c_str(), 5);
            std::thread([this] {
                for (;;) {
                    output(3, "t", 1, "x");
                }
            }).detach();
            std::exit(7);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 7);
    }
}
