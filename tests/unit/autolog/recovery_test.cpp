// Files and directories that go, and come back; a disk that is full.
#include <cerrno>

#include "loaded_log.h"
#include "tiny_disk.h"

namespace fs = std::filesystem;

namespace {

using Lines = std::vector<std::string>;

class Recovery : public LogTest {
  protected:
    // Logs lines until `done`, since the library looks around only when something is logged.
    bool LogUntil(const std::function<bool()>& done) {
        return WaitUntil([&] {
            output(3, "t", ++line_, "x");
            return done();
        });
    }
    int line_ = 0;
};

}  // namespace

TEST_F(Recovery, ARemovedFileIsMadeAnew) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    fs::remove(File());
    EXPECT_TRUE(LogUntil([] { return !LoggedTexts().empty(); }));
    EXPECT_EQ(LoggedTexts(), Lines{"t:" + std::to_string(line_) + " x"});
}

TEST_F(Recovery, AFileThatWasMovedAwayIsLeftAlone) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    fs::rename(File(), File("moved"));
    EXPECT_TRUE(LogUntil([] { return !LoggedTexts().empty(); }));
    const std::size_t moved = Texts(kxtest::ReadFile(File("moved"))).size();
    output(3, "t", 0, "x");
    EXPECT_EQ(Texts(kxtest::ReadFile(File("moved"))).size(), moved);
}

TEST_F(Recovery, ARemovedDirectoryDoesNotComeBackByItself) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    const ErrorStreamCapture captured;
    fs::remove_all(kxtest::InstallationRoot() / "var");
    EXPECT_TRUE(LogUntil([&] { return !captured.Text().empty(); }));
    EXPECT_EQ(Texts(captured.Text()), Lines{"t:" + std::to_string(line_) + " x"});
    EXPECT_FALSE(fs::exists(kxtest::InstallationRoot() / "var"));
}

TEST_F(Recovery, ADirectoryThatComesBackIsUsedAgain) {
    const ErrorStreamCapture captured;
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    fs::remove_all(kxtest::InstallationRoot() / "var");
    ASSERT_TRUE(LogUntil([&] { return !captured.Text().empty(); }));
    fs::create_directories(Directory());
    EXPECT_TRUE(LogUntil([] { return !LoggedTexts().empty(); }));
}

TEST_F(Recovery, InitialisingMakesARemovedDirectoryAtOnce) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    fs::remove_all(kxtest::InstallationRoot() / "var");
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    output(3, "t", 1, "x");
    EXPECT_EQ(LoggedTexts(), Lines{"t:1 x"});
}

TEST_F(Recovery, WhatCouldNotBeOpenedIsTriedAgain) {
    const fs::path in_the_way = kxtest::WriteFile("var/log", "");
    const ErrorStreamCapture captured;
    ASSERT_EQ(init(Directory().c_str(), 5), ENOTDIR);
    fs::remove(in_the_way);
    fs::create_directories(Directory());
    EXPECT_TRUE(LogUntil([] { return !LoggedTexts().empty(); }));
}

TEST_F(Recovery, AFullDiskLosesLinesAndNothingElse) {
    fs::create_directories(Directory());
    const kxtest::TinyDisk disk(Directory(), 16);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "not permitted to mount";
    }
    const ErrorStreamCapture captured;
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    const std::string message(1000, 'x');
    for (int i = 1; i <= 100; ++i) {
        errno = ENOTTY;
        output(3, "t", i, "%s", message.c_str());
        EXPECT_EQ(errno, ENOTTY);
    }
    EXPECT_EQ(fs::file_size(File()), 16384U);
    // The line that found the disk full is lost; those behind it go to standard error, and nothing
    // else does.
    for (const std::string& text : Texts(captured.Text())) {
        EXPECT_TRUE(text.ends_with(" " + message)) << text;
    }

    fs::resize_file(File(), 0);
    EXPECT_TRUE(LogUntil([] { return !LoggedTexts().empty(); }));
    EXPECT_EQ(LoggedTexts(), Lines{"t:" + std::to_string(line_) + " x"});
}

TEST_F(Recovery, ALineThatAFullDiskCutIsEnded) {
    fs::create_directories(Directory());
    const kxtest::TinyDisk disk(Directory(), 16);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "not permitted to mount";
    }
    const ErrorStreamCapture captured;
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    kxtest::WriteFile("var/log/agent/kxepinfo/filler", std::string(8192, 'x'));
    const std::string message(1000, 'x');
    for (int i = 1; i <= 100; ++i) {
        output(3, "t", i, "%s", message.c_str());
    }
    ASSERT_EQ(fs::file_size(File()), 8192U);
    fs::remove(File("filler"));
    EXPECT_TRUE(LogUntil([] { return fs::file_size(File()) > 8192; }));
    const std::string content = kxtest::ReadFile(File());
    EXPECT_EQ(content[8191], 'x');
    EXPECT_EQ(content[8192], '\n');
    EXPECT_EQ(Texts(content).back(), "t:" + std::to_string(line_) + " x");
}

TEST_F(Recovery, ALineThatCannotBeEndedMeansStandardErrorAndGrowsNoFurther) {
    fs::create_directories(Directory());
    const kxtest::TinyDisk disk(Directory(), 8);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "not permitted to mount";
    }
    kxtest::WriteFile("var/log/agent/kxepinfo/kxepinfo.log", std::string(8192, 'x'));
    const ErrorStreamCapture captured;
    EXPECT_EQ(init(Directory().c_str(), 5), ENOSPC);
    output(2, "t", 1, "x");
    EXPECT_EQ(Texts(captured.Text()), Lines{"t:1 x"});
    EXPECT_EQ(fs::file_size(File()), 8192U);
}
