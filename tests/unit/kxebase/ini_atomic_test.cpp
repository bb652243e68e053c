// A reader finds a whole file at any moment, also when the writer is killed.
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>

#include "ini_families.h"

namespace fs = std::filesystem;

namespace {

class IniAtomic : public IniTest {};

// Two documents of the same form, each large enough to take several writes.
std::string Text(char letter) {
    std::string text = "[a]\n";
    for (int i = 0; i < 3000; ++i) {
        text += "key" + std::to_string(i) + "=" + std::string(20, letter) + "\n";
    }
    return text;
}

}  // namespace

TEST_P(IniAtomic, AKilledWriterLeavesAWholeFile) {
    const std::string texts[] = {Text('a'), Text('b')};
    const Ini documents[] = {Document(texts[0]), Document(texts[1])};
    const fs::path path = kxtest::WriteFile("config/x.ini", texts[0]);
    std::minstd_rand random(20);
    for (int round = 0; round < 30; ++round) {
        const pid_t writer = fork();
        ASSERT_GE(writer, 0);
        if (writer == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (unsigned i = 0;; ++i) {
                if (GetParam().save(documents[i % 2].get(), path.c_str(), 0) != 0) {
                    _exit(1);
                }
            }
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
        ASSERT_EQ(kill(writer, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(waitpid(writer, &status, 0), writer);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the writer failed";
        const std::string left = kxtest::ReadFile(path);
        ASSERT_TRUE(left == texts[0] || left == texts[1]) << left.size() << " bytes";
    }
}

TEST_P(IniAtomic, AReaderNeverSeesAHalfWrittenFile) {
    const std::string texts[] = {Text('a'), Text('b')};
    const Ini documents[] = {Document(texts[0]), Document(texts[1])};
    const fs::path path = kxtest::WriteFile("config/x.ini", texts[0]);
    std::atomic<bool> written{false};
    std::thread writer([&] {
        for (unsigned i = 0; i < 60; ++i) {
            EXPECT_EQ(Save(documents[i % 2], path), 0);
        }
        written = true;
    });
    while (!written) {
        const std::string seen = kxtest::ReadFile(path);
        EXPECT_TRUE(seen == texts[0] || seen == texts[1]) << seen.size() << " bytes";
    }
    writer.join();
}

INI_TEST_SUITE(IniAtomic);
