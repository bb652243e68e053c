#include "module/settings.h"

#include <gmock/gmock.h>

#include "fake_agent.h"
#include "installation.h"
#include "log_capture.h"

using kxtest::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

std::string IniPath() {
    return (kxtest::InstallationRoot() / "bin").string() + "/../config/kxepinfocfg.ini";
}

void WriteIni(const std::string& content) {
    kxtest::WriteFile("config/kxepinfocfg.ini", content);
}

class FlushGap : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        kxtest::ResetAgent();
        kxtest::ClearLog();
    }

    // The value counts and nothing is logged.
    static void ExpectGap(const std::string& value, int gap) {
        kxtest::ClearLog();
        WriteIni("[flushgap]\nvalue=" + value + "\n");
        EXPECT_EQ(GetFlushGap(), gap) << value;
        EXPECT_THAT(kxtest::LoggedLines(), IsEmpty()) << value;
    }

    // The value is refused as too small, which is logged.
    static void ExpectTooSmall(const std::string& value) {
        kxtest::ClearLog();
        WriteIni("[flushgap]\nvalue=" + value + "\n");
        EXPECT_EQ(GetFlushGap(), 40) << value;
        EXPECT_THAT(
            kxtest::LoggedLines(),
            ElementsAre(LogLine{3, "kxepinfo",
                                " gap in " + IniPath() + " too small,use default value 40\n"}))
            << value;
    }
};

using FlagFiles = kxtest::InstallationTest;

}  // namespace

TEST_F(FlushGap, MissingFileGivesTheDefault) {
    EXPECT_EQ(GetFlushGap(), 40);
    EXPECT_THAT(kxtest::LoggedLines(),
                ElementsAre(LogLine{3, "kxepinfo",
                                    "load " + IniPath() + " fail,use default gap value 40\n"}));
}

TEST_F(FlushGap, MissingSectionGivesTheDefault) {
    WriteIni("[other]\nvalue=7\n");
    EXPECT_EQ(GetFlushGap(), 40);
    EXPECT_THAT(kxtest::LoggedLines(),
                ElementsAre(LogLine{3, "kxepinfo",
                                    "get gap from " + IniPath() + " fail,use default value 40\n"}));
}

TEST_F(FlushGap, MissingKeyGivesTheDefault) {
    WriteIni("[flushgap]\nother=7\n");
    EXPECT_EQ(GetFlushGap(), 40);
    EXPECT_THAT(kxtest::LoggedLines(),
                ElementsAre(LogLine{3, "kxepinfo",
                                    "get gap from " + IniPath() + " fail,use default value 40\n"}));
}

TEST_F(FlushGap, EmptyFileGivesTheDefault) {
    WriteIni("");
    EXPECT_EQ(GetFlushGap(), 40);
    EXPECT_THAT(kxtest::LoggedLines(),
                ElementsAre(LogLine{3, "kxepinfo",
                                    "get gap from " + IniPath() + " fail,use default value 40\n"}));
}

TEST_F(FlushGap, ValuesBelowTwoGiveTheDefaultAndAreLogged) {
    for (const char* value : {"", "abc", "0", "1", "-5"}) {
        ExpectTooSmall(value);
    }
}

TEST_F(FlushGap, NumbersAreTaken) {
    ExpectGap("2", 2);
    ExpectGap("40", 40);
    ExpectGap("+3", 3);
}

TEST_F(FlushGap, ReadingStopsAtTheFirstOtherCharacter) {
    ExpectGap("30s", 30);
    ExpectGap("7.9", 7);
    ExpectTooSmall("0x10");
}

TEST_F(FlushGap, LeadingBlanksAreAccepted) {
    kxtest::Agent().kxe_ini_file_get = [](kxe_ini_file*, const char*, const char*) { return " 7"; };
    WriteIni("[flushgap]\n");
    EXPECT_EQ(GetFlushGap(), 7);
}

TEST_F(FlushGap, ThereIsNoUpperBound) {
    ExpectGap("2147483647", 2147483647);
}

TEST_F(FlushGap, OnlyTheLow32BitsCount) {
    ExpectGap("4294967298", 2);
    ExpectTooSmall("2147483648");
    ExpectTooSmall("99999999999999999999");  // the largest long: all low bits set, -1
}

TEST_F(FlushGap, TheFileIsReleasedHoweverItEnds) {
    int loaded = 0;
    int released = 0;
    static char file;
    const char* value = nullptr;
    kxtest::Agent().kxe_ini_file_load = [&](const char*) {
        ++loaded;
        return reinterpret_cast<kxe_ini_file*>(&file);
    };
    kxtest::Agent().kxe_ini_file_get = [&](kxe_ini_file*, const char*, const char*) {
        return value;
    };
    kxtest::Agent().kxe_ini_file_free = [&](kxe_ini_file* f) {
        EXPECT_EQ(f, reinterpret_cast<kxe_ini_file*>(&file));
        ++released;
    };
    for (const char* each : {static_cast<const char*>(nullptr), "1", "9"}) {
        value = each;
        GetFlushGap();
    }
    EXPECT_EQ(loaded, 3);
    EXPECT_EQ(released, 3);
    kxtest::ResetAgent();
}

TEST_F(FlagFiles, AutoTestIsOnWhileItsFileIsThere) {
    EXPECT_FALSE(IsAutoTestEnbaled());
    const auto file = kxtest::WriteFile("bin/kxepinfo_flag.txt", "");
    EXPECT_TRUE(IsAutoTestEnbaled());
    std::filesystem::remove(file);
    EXPECT_FALSE(IsAutoTestEnbaled());
}

TEST_F(FlagFiles, UninstallingIsOnWhileItsFileIsThere) {
    EXPECT_FALSE(IsUninstalling());
    const auto file = kxtest::WriteFile("bin/uninstalling", "whatever it says");
    EXPECT_TRUE(IsUninstalling());
    std::filesystem::remove(file);
    EXPECT_FALSE(IsUninstalling());
}

TEST_F(FlagFiles, ADirectoryOfThatNameCountsToo) {
    std::filesystem::create_directory(kxtest::InstallationRoot() / "bin/uninstalling");
    EXPECT_TRUE(IsUninstalling());
    EXPECT_FALSE(IsAutoTestEnbaled());
}
