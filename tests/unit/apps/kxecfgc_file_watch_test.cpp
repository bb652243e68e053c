#include "kxecfgc/file_watch.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "cl_ev.h"
#include "installation.h"

namespace fs = std::filesystem;

namespace {

// Ends waiting for a change that does not come; far longer than one takes.
constexpr int kHangGuardMs = 60'000;

class FileWatchTest : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        file = kxtest::WriteFile("config/cfgc.ini", "old");
        guard = kxapp::MakeLoopHandle<uv_timer_t>(uv_timer_init);
        guard->data = &hung;
        uv_timer_start(
            guard.get(), [](uv_timer_t* timer) { *static_cast<bool*>(timer->data) = true; },
            kHangGuardMs, 0);
    }

    // Waits for the next change.
    bool changes() {
        const int before = calls;
        while (calls == before && !hung) {
            cl_event_loop_once();
        }
        return calls > before;
    }

    kxecfgc::FileWatch watch() {
        return kxecfgc::FileWatch(file, [this] { ++calls; });
    }

    fs::path file;
    int calls = 0;
    bool hung = false;
    kxapp::LoopHandle<uv_timer_t> guard;
};

}  // namespace

TEST_F(FileWatchTest, NoticesAWrite) {
    const kxecfgc::FileWatch watched = watch();
    std::ofstream(file) << "new";
    EXPECT_TRUE(changes());
}

TEST_F(FileWatchTest, NoticesAReplacementTimeAndAgain) {
    const kxecfgc::FileWatch watched = watch();
    for (int i = 0; i < 3; ++i) {
        const fs::path other = kxtest::WriteFile("config/new.ini", "new");
        fs::rename(other, file);
        EXPECT_TRUE(changes()) << i;
    }
}

TEST_F(FileWatchTest, NoticesThatTheFileComesBack) {
    const kxecfgc::FileWatch watched = watch();
    fs::remove(file);
    EXPECT_TRUE(changes());
    std::ofstream(file) << "new";
    EXPECT_TRUE(changes());
}

TEST_F(FileWatchTest, SeveralWritesInARowAreOneChange) {
    const kxecfgc::FileWatch watched = watch();
    for (int i = 0; i < 10; ++i) {
        std::ofstream(file) << "new";
    }
    EXPECT_TRUE(changes());
    EXPECT_EQ(calls, 1);
}

TEST_F(FileWatchTest, OtherFilesOfTheDirectoryDoNotCount) {
    int other_calls = 0;
    const kxecfgc::FileWatch watched = watch();
    // Both would be told of the same event: a wrong call comes no later than this one.
    const fs::path other = kxtest::WriteFile("config/other.ini", "");
    const kxecfgc::FileWatch other_watch(other, [&other_calls] { ++other_calls; });
    std::ofstream(other) << "new";
    while (other_calls == 0 && !hung) {
        cl_event_loop_once();
    }
    EXPECT_EQ(other_calls, 1);
    EXPECT_EQ(calls, 0);
}

TEST_F(FileWatchTest, NeedsTheDirectory) {
    EXPECT_THROW(kxecfgc::FileWatch("/nonexistent/cfgc.ini", [] {}), std::runtime_error);
}
