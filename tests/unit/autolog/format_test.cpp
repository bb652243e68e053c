// What a line looks like.
#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <thread>

#include "loaded_log.h"

namespace {

using ::testing::MatchesRegex;

class Format : public LogTest {
  protected:
    void SetUp() override {
        LogTest::SetUp();
        ASSERT_EQ(init(Directory().c_str(), 5), 0);
    }
};

std::string Ids() {
    return std::to_string(getpid()) + "/" + std::to_string(syscall(SYS_gettid));
}

}  // namespace

TEST_F(Format, IsTimeLevelIdsTagAndMessage) {
    output(2, "netinfo", 118, "socket fail: %s\n", "Too many open files");
    EXPECT_THAT(kxtest::ReadFile(File()),
                MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}"
                             "[+-][0-9]{2}:[0-9]{2} E " +
                             Ids() + " netinfo:118 socket fail: Too many open files\n"));
}

TEST_F(Format, EachLevelHasItsLetter) {
    SetLevel("4");
    for (int level = 1; level <= 4; ++level) {
        output(level, "t", level, "x");
    }
    EXPECT_THAT(kxtest::ReadFile(File()),
                MatchesRegex("[^ ]+ [^ ]+ C [^ ]+ t:1 x\n[^ ]+ [^ ]+ E [^ ]+ t:2 x\n"
                             "[^ ]+ [^ ]+ I [^ ]+ t:3 x\n[^ ]+ [^ ]+ D [^ ]+ t:4 x\n"));
}

TEST_F(Format, TheTimeIsLocalWithItsOffset) {
    ASSERT_EQ(setenv("TZ", "XST-05:30", 1), 0);
    tzset();
    const std::time_t before = std::time(nullptr);
    output(3, "t", 1, "x");
    const std::time_t after = std::time(nullptr);
    ASSERT_EQ(unsetenv("TZ"), 0);
    tzset();
    const std::string content = kxtest::ReadFile(File());
    std::tm time = {};
    const char* const rest = strptime(content.c_str(), "%Y-%m-%d %H:%M:%S", &time);
    ASSERT_NE(rest, nullptr) << content;
    EXPECT_EQ(std::string(rest + 4, 7), "+05:30 ") << content;
    const std::time_t logged = timegm(&time) - (5 * 60 + 30) * 60;
    EXPECT_GE(logged, before);
    EXPECT_LE(logged, after);
}

TEST_F(Format, TheThreadIsTheOneThatLogged) {
    std::string ids;
    std::thread([&] {
        ids = Ids();
        output(3, "t", 1, "x");
    }).join();
    EXPECT_NE(ids, Ids());
    const std::string content = kxtest::ReadFile(File());
    EXPECT_NE(content.find(" I " + ids + " t:1 x\n"), std::string::npos) << content;
}

TEST_F(Format, TextFromOutsideCannotForgeALine) {
    output(2, "t", 1, "answer: %s\n", "x\n2026-01-01 00:00:00.000+00:00 E 1/1 t:1 forged\r\x1B[2K");
    EXPECT_EQ(LoggedTexts(),
              std::vector<std::string>{"t:1 answer: x\\x0A2026-01-01 00:00:00.000+00:00 E 1/1 t:1 "
                                       "forged\\x0D\\x1B[2K"});
}

TEST_F(Format, ATagIsKeptWhole) {
    output(3, "../msghandler/msgprotobuf", 0, "x");
    output(3, "a\nb", -1, "x");
    output(3, nullptr, 2, "x");
    EXPECT_EQ(LoggedTexts(),
              (std::vector<std::string>{"../msghandler/msgprotobuf:0 x", "a\\x0Ab:-1 x", "?:2 x"}));
}

TEST_F(Format, AnEmptyMessageIsALine) {
    output(3, "t", 1, "%s", "");
    output(3, "t", 2, "\n");
    EXPECT_EQ(LoggedTexts(), (std::vector<std::string>{"t:1 ", "t:2 "}));
}

TEST_F(Format, ALongMessageIsCutAndMarked) {
    const std::string message(100000, 'x');
    output(3, "t", 1, "%s", message.c_str());
    EXPECT_EQ(LoggedTexts(),
              std::vector<std::string>{"t:1 " + std::string(8192 - 4 - 8, 'x') + "...[cut]"});
}

TEST_F(Format, ALongTagIsCutAndMarked) {
    const std::string tag(10000, 'x');
    output(3, tag.c_str(), 1, "message");
    EXPECT_EQ(LoggedTexts(), std::vector<std::string>{std::string(8192 - 8, 'x') + "...[cut]"});
}

TEST_F(Format, AMessageThatCannotBeFormedIsLoggedAsItsFormat) {
    const wchar_t no_character[] = {static_cast<wchar_t>(0x7FFFFFFF), L'\0'};
    output(3, "t", 1, "text: %ls", no_character);
    EXPECT_EQ(LoggedTexts(), std::vector<std::string>{"t:1 text: %ls"});
}

TEST_F(Format, ANullFormatIsAnEmptyMessage) {
    const char* const format = nullptr;
    output(3, "t", 1, format);
    EXPECT_EQ(LoggedTexts(), std::vector<std::string>{"t:1 "});
}

TEST_F(Format, ErrnoIsTheSameAfterwards) {
    errno = ENOTTY;
    output(3, "t", 1, "x");
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_NE(check(3), 0);
    EXPECT_EQ(errno, ENOTTY);
}
