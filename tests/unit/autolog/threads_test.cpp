// Several threads at once.
#include <algorithm>
#include <thread>

#include "loaded_log.h"

namespace {

using Threads = LogTest;

constexpr int kThreads = 4;
constexpr int kLines = 500;

}  // namespace

TEST_F(Threads, NoLineIsLostOrMixedWithAnother) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int line = 0; line < kLines; ++line) {
                if (check(3) != 0) {
                    output(3, std::to_string(thread).c_str(), line, "x");
                }
            }
        });
    }
    std::thread again([&] {
        for (int i = 0; i < 100; ++i) {
            EXPECT_EQ(init(Directory().c_str(), 5), 0);
        }
    });
    for (std::thread& thread : threads) {
        thread.join();
    }
    again.join();
    std::vector<std::string> expected;
    for (int thread = 0; thread < kThreads; ++thread) {
        for (int line = 0; line < kLines; ++line) {
            expected.push_back(std::to_string(thread) + ":" + std::to_string(line) + " x");
        }
    }
    std::vector<std::string> logged = LoggedTexts();
    std::sort(expected.begin(), expected.end());
    std::sort(logged.begin(), logged.end());
    EXPECT_EQ(logged, expected);
}

TEST_F(Threads, TheLevelMayBeSwitchedMeanwhile) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            EXPECT_TRUE(WaitUntil([&] {
                output(4, "t", 1, "x");
                return check(4) != 0;
            }));
        });
    }
    SetLevel("4");
    for (std::thread& thread : threads) {
        thread.join();
    }
}
