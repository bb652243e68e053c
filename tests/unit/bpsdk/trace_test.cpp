// The functions that modules call.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "installation.h"
#include "kxe_bpsdk.h"

namespace fs = std::filesystem;

namespace {

fs::path TraceDirectory() {
    return kxtest::InstallationRoot() / "var/trace";
}

// All lines, with the digits of each time made to "0".
std::string Lines() {
    constexpr std::size_t kTimeAt = 9;
    constexpr std::size_t kTimeEnd = kTimeAt + 24;
    std::ifstream file(TraceDirectory() / "events.jsonl");
    std::string all;
    for (std::string line; std::getline(file, line); all += line + '\n') {
        for (std::size_t i = kTimeAt; i < kTimeEnd && i < line.size(); ++i) {
            line[i] = line[i] >= '0' && line[i] <= '9' ? '0' : line[i];
        }
    }
    return all;
}

kxe_bp_header Header() {
    kxe_bp_header header{};
    std::strcpy(header.module, "m");
    return header;
}

const std::string kTime = R"({"time":"0000-00-00T00:00:00.000Z",)";
const std::string kBegin =
    kTime + R"("module":"m","event":"","product":"","version":"","host_id":"",)";

class Trace : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        ASSERT_EQ(kxe_bp_init(), 0);
    }
    void TearDown() override { kxe_bp_uninit(); }

    const kxe_bp_header header_ = Header();
};

}  // namespace

TEST_F(Trace, BeginsByMakingTheDirectory) {
    EXPECT_TRUE(fs::is_directory(TraceDirectory()));
    EXPECT_TRUE(fs::is_empty(TraceDirectory()));
}

TEST_F(Trace, AppendsWhatTheFormatGives) {
    EXPECT_EQ(kxe_bp_trace(&header_, "%s %d", "text", 7), 0);
    EXPECT_EQ(kxe_bp_trace_unicode(&header_, "%s", "\u4e2d"), 0);
    EXPECT_EQ(kxe_bp_trace_utf8(&header_, "%s", R"({"type": 601})"), 0);
    EXPECT_EQ(Lines(), kBegin + "\"message\":\"text 7\"}\n" + kBegin + "\"message\":\"\u4e2d\"}\n" +
                           kBegin + "\"body\":{\"type\": 601}}\n");
}

TEST_F(Trace, AppendsOtherEvents) {
    EXPECT_EQ(kxe_bp_other(3, "ab", 2), 0);
    EXPECT_EQ(kxe_bp_other(4, nullptr, 0), 0);
    EXPECT_EQ(Lines(),
              kTime + "\"code\":3,\"data\":\"6162\"}\n" + kTime + "\"code\":4,\"data\":\"\"}\n");
}

TEST_F(Trace, CutsLongText) {
    const std::string text(KXE_BP_MAX_TEXT + 1000, 'x');
    EXPECT_EQ(kxe_bp_trace(&header_, "%s", text.c_str()), 0);
    EXPECT_EQ(Lines(), kBegin + "\"message\":\"" + std::string(KXE_BP_MAX_TEXT, 'x') +
                           "\",\"truncated\":true}\n");
}

TEST_F(Trace, KeepsTheLongestText) {
    const std::string text(KXE_BP_MAX_TEXT, 'x');
    EXPECT_EQ(kxe_bp_trace(&header_, "%s", text.c_str()), 0);
    EXPECT_EQ(Lines(), kBegin + "\"message\":\"" + text + "\"}\n");
}

TEST_F(Trace, RefusesNull) {
    const char* const no_format = nullptr;
    EXPECT_EQ(kxe_bp_trace(nullptr, "%s", "x"), EINVAL);
    EXPECT_EQ(kxe_bp_trace_unicode(nullptr, "%s", "x"), EINVAL);
    EXPECT_EQ(kxe_bp_trace_utf8(&header_, no_format), EINVAL);
    EXPECT_EQ(kxe_bp_other(1, nullptr, 1), EINVAL);
    EXPECT_EQ(Lines(), "");
}

TEST_F(Trace, RefusesEventsAfterTheEnd) {
    kxe_bp_uninit();
    EXPECT_EQ(kxe_bp_trace(&header_, "x"), EPERM);
    EXPECT_EQ(kxe_bp_trace_unicode(&header_, "x"), EPERM);
    EXPECT_EQ(kxe_bp_trace_utf8(&header_, "x"), EPERM);
    EXPECT_EQ(kxe_bp_other(1, "x", 1), EPERM);
    EXPECT_EQ(Lines(), "");
}

TEST_F(Trace, BeginsAgainAfterTheEnd) {
    kxe_bp_uninit();
    EXPECT_EQ(kxe_bp_init(), 0);
    EXPECT_EQ(kxe_bp_trace(&header_, "x"), 0);
    EXPECT_EQ(Lines(), kBegin + "\"message\":\"x\"}\n");
}

TEST_F(Trace, EndsOnceHoweverOftenItBegan) {
    EXPECT_EQ(kxe_bp_init(), 0);
    EXPECT_EQ(kxe_bp_init(), 0);
    kxe_bp_uninit();
    EXPECT_EQ(kxe_bp_trace(&header_, "x"), EPERM);
    kxe_bp_uninit();
    EXPECT_EQ(kxe_bp_trace(&header_, "x"), EPERM);
}

using TraceBeforeItBegins = kxtest::InstallationTest;

TEST_F(TraceBeforeItBegins, RefusesEvents) {
    const kxe_bp_header header = Header();
    EXPECT_EQ(kxe_bp_trace(&header, "x"), EPERM);
    EXPECT_FALSE(fs::exists(TraceDirectory()));
}

TEST_F(TraceBeforeItBegins, RecoversFromADirectoryThatCouldNotBeMade) {
    const fs::path obstacle = kxtest::WriteFile("var", "");
    const kxe_bp_header header = Header();
    EXPECT_EQ(kxe_bp_init(), ENOTDIR);
    EXPECT_EQ(kxe_bp_trace(&header, "lost"), ENOTDIR);
    fs::remove(obstacle);
    EXPECT_EQ(kxe_bp_trace(&header, "x"), 0);
    EXPECT_EQ(Lines(), kBegin + "\"message\":\"x\"}\n");
    kxe_bp_uninit();
}

extern "C" int HeaderWorksInC();

TEST_F(TraceBeforeItBegins, WorksInC) {
    EXPECT_EQ(HeaderWorksInC(), 1);
}
