#include "module/autotest.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>

#include "cycle_fixture.h"
#include "open_files.h"

using ::testing::Contains;
using ::testing::MatchesRegex;
using ::testing::Not;

namespace {

constexpr std::tm kMorning = {.tm_sec = 7,
                              .tm_min = 5,
                              .tm_hour = 9,
                              .tm_mday = 1,
                              .tm_mon = 2,
                              .tm_year = 124,
                              .tm_wday = 5,
                              .tm_yday = 60,
                              .tm_isdst = 0,
                              .tm_gmtoff = 0,
                              .tm_zone = nullptr};

std::string LineWithUsage(uint32_t hundredths) {
    return AutoTestLine(kMorning, {hundredths, 1, 2});
}

class Dump : public Cycles {
  protected:
    static std::filesystem::path Path() {
        return kxtest::InstallationRoot() / "bin/autotest_kxepinfo.proto";
    }
    static std::string Text() { return kxtest::ReadFile(Path()); }
    static void Enable() { kxtest::WriteFile("bin/kxepinfo_flag.txt", ""); }
};

bool no_streams = false;  // while it is true, there is no memory for a stream on a descriptor

const char* const kResource = "4 kxepproto: cpu_usage:50.00(%),mem_total:1000(kB),mem_used:600(kB)";

const char* const kLine =
    "update time:  [0-9]+ [0-9]+:[0-9]+:[0-9]+\t"
    "cpu_usage:50\\.00\\(%\\)\tmem_total:1000\\(kB\\)\tmem_used:600\\(kB\\)\n";

}  // namespace

// In front of the C library's.
extern "C" std::FILE* fdopen(int descriptor, const char* mode) noexcept {
    static const auto real = reinterpret_cast<decltype(&fdopen)>(dlsym(RTLD_NEXT, "fdopen"));
    if (no_streams) {
        errno = ENOMEM;
        return nullptr;
    }
    return real(descriptor, mode);
}

TEST(AutoTestLine, TellsTimeUsageAndMemory) {
    EXPECT_EQ(AutoTestLine(kMorning, {1205, 8062440, 2071556}),
              "update time:  20240301 09:05:07\tcpu_usage:12.05(%)\tmem_total:8062440(kB)\t"
              "mem_used:2071556(kB)\n");
}

TEST(AutoTestLine, GivesUsageTwoDecimals) {
    EXPECT_THAT(LineWithUsage(5), testing::HasSubstr("\tcpu_usage:0.05(%)\t"));
    EXPECT_THAT(LineWithUsage(10000), testing::HasSubstr("\tcpu_usage:100.00(%)\t"));
    EXPECT_THAT(LineWithUsage(0), testing::HasSubstr("\tcpu_usage:0.00(%)\t"));
}

TEST(AutoTestLine, TakesAnyFigures) {
    EXPECT_THAT(AutoTestLine(kMorning, {10000, 4294967295U, 4294967295U}),
                testing::EndsWith("\tmem_total:4294967295(kB)\tmem_used:4294967295(kB)\n"));
}

TEST_F(Dump, IsNotWrittenUnlessItIsEnabled) {
    (void)RunToUpload();
    EXPECT_FALSE(std::filesystem::exists(Path()));
    EXPECT_THAT(Journal(), Not(Contains("3 kxepinfo: Auto test is enabled\\n")));
}

TEST_F(Dump, GetsOneLineACycle) {
    Enable();
    (void)RunToUpload();
    EXPECT_THAT(Text(), MatchesRegex(kLine));
    (void)RunToUpload();
    EXPECT_THAT(Text(), MatchesRegex(std::string(kLine) + kLine));
    EXPECT_THAT(Journal(), Contains("3 kxepinfo: Auto test is enabled\\n"));
}

TEST_F(Dump, GetsTheTimeOfTheLocalZone) {
    Enable();
    (void)RunToUpload();  // the C library has looked for the zone once
    std::filesystem::remove(Path());
    ASSERT_EQ(setenv("TZ", "FAR-20:15", 1), 0);  // twenty hours ahead, as no other zone is
    const std::time_t before = std::time(nullptr);
    (void)RunToUpload();
    const std::time_t after = std::time(nullptr);
    const auto zone_line = [](std::time_t now) {
        now += 20 * 3600 + 15 * 60;
        std::tm shifted = {};
        gmtime_r(&now, &shifted);
        return AutoTestLine(shifted, {5000, 1000, 600});
    };
    EXPECT_GE(Text(), zone_line(before));
    EXPECT_LE(Text(), zone_line(after));
}

TEST_F(Dump, KeepsWhatIsThere) {
    kxtest::WriteFile("bin/autotest_kxepinfo.proto", "kept\n");
    Enable();
    (void)RunToUpload();
    EXPECT_THAT(Text(), MatchesRegex(std::string("kept\n") + kLine));
}

TEST_F(Dump, StaysAsItIsWhenTheFlagIsTakenAway) {
    Enable();
    (void)RunToUpload();
    const std::string so_far = Text();
    std::filesystem::remove(kxtest::InstallationRoot() / "bin/kxepinfo_flag.txt");
    (void)RunToUpload();
    EXPECT_EQ(Text(), so_far);
}

TEST_F(Dump, GetsNoLineFromACycleThatIsStopped) {
    Enable();
    answers->sleep = [this] { exit_flag = 1; };
    (void)Run();
    EXPECT_FALSE(std::filesystem::exists(Path()));
}

TEST_F(Dump, GetsNoLineDuringAnUninstallation) {
    Enable();
    kxtest::WriteFile("bin/uninstalling", "");
    (void)Run();
    EXPECT_FALSE(std::filesystem::exists(Path()));
}

TEST_F(Dump, DoesNotWaitForWhoeverReadsAPipe) {
    Enable();
    ASSERT_EQ(mkfifo(Path().c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_EQ(Run(), 0);
}

TEST_F(Dump, IsSkippedSilentlyWhenItCannotBeOpened) {
    Enable();
    std::filesystem::create_directory(Path());
    EXPECT_EQ(Run(), 0);
    const std::vector<std::string> journal = Journal();
    EXPECT_EQ(std::vector<std::string>(journal.end() - 5, journal.end()),
              (std::vector<std::string>{"3 kxepinfo: Auto test is enabled\\n", kResource,
                                        "kxe_time", "kxe_time", "kxe_time"}));
}

TEST_F(Dump, IsSkippedSilentlyAndClosedWithoutMemoryForAStream) {
    Enable();
    const std::size_t before = kxtest::OpenDescriptors();
    no_streams = true;
    const int result = Run();
    no_streams = false;
    EXPECT_EQ(result, 0);
    EXPECT_EQ(kxtest::OpenDescriptors(), before);
    EXPECT_EQ(Text(), "");
}
