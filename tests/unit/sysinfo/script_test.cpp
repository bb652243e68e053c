// resmon_export.sh of the installation: what it makes of an os-release file. Each test lays its own
// file over the machine's.
#include <sys/utsname.h>

#include <filesystem>
#include <memory>
#include <vector>

#include "collectors/command.h"
#include "sysinfo_fixture.h"
#include "tiny_disk.h"

namespace fs = std::filesystem;

namespace {

constexpr char kScript[] = "/bin/bash " KX_DISTRIBUTION_SCRIPT;

class DistributionScript : public SysInfoTest {
  protected:
    void SetUp() override {
        SysInfoTest::SetUp();
        if (!fs::is_regular_file("/usr/lib/os-release")) {
            GTEST_SKIP() << "no os-release to lay another one over";
        }
        if (!MountedFile("/dev/null", "/usr/lib/os-release").IsMounted()) {
            GTEST_SKIP() << "no right to mount";
        }
    }

    // Every os-release of the machine is this one.
    void LayOver(const fs::path& file) {
        for (const char* const place : {"/etc/os-release", "/usr/lib/os-release"}) {
            if (fs::exists(place)) {
                mounts.push_back(std::make_unique<MountedFile>(file, place));
                ASSERT_TRUE(mounts.back()->IsMounted());
            }
        }
    }

    static std::string Capture(const std::string& command) {
        char text[128] = {};  // the room that the module gives it
        EXPECT_EQ(RunCommand((command + " 2>&1").c_str(), text, sizeof text), 0);
        return text;
    }

    // What the module gets on the machine as it is.
    static std::string Distribution(const std::string& environment = "") {
        return Capture(environment + kScript + " get_linux_dist_ver");
    }

    // What it gets with an os-release of this content.
    std::string DistributionOf(const std::string& content) {
        mounts.clear();
        LayOver(kxtest::WriteFile("os-release", content));
        return Distribution();
    }

    static std::string Kernel() {
        utsname names{};
        EXPECT_EQ(uname(&names), 0);
        return std::string(names.sysname) + " " + names.release;
    }

    std::vector<std::unique_ptr<MountedFile>> mounts;
};

}  // namespace

TEST_F(DistributionScript, PrintsNameAndVersion) {
    EXPECT_EQ(DistributionOf("PRETTY_NAME=\"Some Linux 7 (seven)\"\n"
                             "NAME=\"Some Linux\"\n"
                             "VERSION_ID=\"7\"\n"
                             "VERSION=\"7 (seven)\"\n"
                             "ID=some\n"),
              "Some Linux 7 (seven)");
}

TEST_F(DistributionScript, TakesTheVersionIdWithoutAVersion) {
    EXPECT_EQ(DistributionOf("NAME=Some\nVERSION_ID=3.19.1\n"), "Some 3.19.1");
    EXPECT_EQ(DistributionOf("NAME=Some\nVERSION=\"\"\nVERSION_ID=3.19.1\n"), "Some 3.19.1");
}

TEST_F(DistributionScript, PrintsTheNameAloneWithoutAnyVersion) {
    EXPECT_EQ(DistributionOf("NAME=\"Rolling Linux\"\n"), "Rolling Linux");
}

TEST_F(DistributionScript, TakesThePrettyNameWithoutAName) {
    EXPECT_EQ(DistributionOf("PRETTY_NAME=\"Pretty 1\"\nVERSION_ID=1\n"), "Pretty 1");
    EXPECT_EQ(DistributionOf("NAME=\nPRETTY_NAME=\"Pretty 1\"\n"), "Pretty 1");
}

TEST_F(DistributionScript, NamesTheKernelWithoutOsRelease) {
    LayOver("/dev/null");
    EXPECT_EQ(Distribution(), Kernel());
}

TEST_F(DistributionScript, NamesTheKernelWhenOsReleaseNamesNothing) {
    EXPECT_EQ(DistributionOf(""), Kernel());
    EXPECT_EQ(DistributionOf("VERSION_ID=1\nNAME\nMYNAME=a\n#NAME=b\nNAME_OF=c\n"), Kernel());
}

TEST_F(DistributionScript, ReadsOsReleaseInEtcBeforeTheOneInUsrLib) {
    const kxtest::TinyDisk etc("/etc", 64);
    ASSERT_TRUE(etc.IsMounted());
    const MountedFile vendor(kxtest::WriteFile("vendor", "NAME=Vendor\n"), "/usr/lib/os-release");
    ASSERT_TRUE(vendor.IsMounted());
    EXPECT_EQ(Distribution(), "Vendor");
    fs::copy_file(kxtest::WriteFile("local", "NAME=Local\n"), "/etc/os-release");
    EXPECT_EQ(Distribution(), "Local");
}

TEST_F(DistributionScript, TakesQuotesAndBlanksOff) {
    EXPECT_EQ(DistributionOf("NAME='Single Quotes'\nVERSION= \"2\" \t\n"), "Single Quotes 2");
    EXPECT_EQ(DistributionOf("NAME=\"It's\"\nVERSION='\"2\"'\n"), "It's \"2\"");
    EXPECT_EQ(DistributionOf("NAME=\"\nVERSION=''\n"), "\"");
}

TEST_F(DistributionScript, TakesEscapesOffInDoubleQuotesAlone) {
    EXPECT_EQ(DistributionOf(R"(NAME="\"a\" \$b \`c\` \\d \\\"e")"), R"("a" $b `c` \d \"e)");
    EXPECT_EQ(DistributionOf(R"(NAME='\$b \\d')"), R"(\$b \\d)");
}

TEST_F(DistributionScript, TheLastOfSeveralValuesCounts) {
    EXPECT_EQ(DistributionOf("NAME=First\nNAME=Second\n"), "Second");
}

TEST_F(DistributionScript, LinesMayEndInCrLfAndTheLastOneInNothing) {
    EXPECT_EQ(DistributionOf("NAME=\"Some\"\r\nVERSION=\"1\"\r\n"), "Some 1");
    EXPECT_EQ(DistributionOf("VERSION=1\nNAME=Some"), "Some 1");
}

TEST_F(DistributionScript, RunsNothingThatTheFileHolds) {
    const std::string made = (kxtest::InstallationRoot() / "m").string();
    EXPECT_EQ(DistributionOf("NAME=\"$(touch " + made + ")\"\nVERSION=1\n"),
              "$(touch " + made + ") 1");
    EXPECT_EQ(DistributionOf("touch " + made + "\nNAME=a;touch " + made + "\n"), "a;touch " + made);
    EXPECT_EQ(DistributionOf("NAME=`touch " + made + "`\n"), "`touch " + made + "`");
    EXPECT_EQ(DistributionOf("NAME=%s%n\\n\\x41 *\n"), "%s%n\\n\\x41 *");
    EXPECT_FALSE(fs::exists(made));
}

TEST_F(DistributionScript, ControlCharactersBecomeBlanks) {
    EXPECT_EQ(DistributionOf("NAME=\"a\tb\x1B[31m\x7F\"\n"), "a b [31m ");
}

TEST_F(DistributionScript, AZeroByteEndsTheFile) {
    EXPECT_EQ(DistributionOf(std::string("NAME=a\0b\nVERSION=1\n", 19)), "a");
}

// Read as lines, it would keep a shell busy for half a minute.
TEST_F(DistributionScript, DoesNotReadThroughAHugeHole) {
    const fs::path file = kxtest::WriteFile("os-release", "");
    fs::resize_file(file, std::uintmax_t{1} << 40U);
    LayOver(file);
    EXPECT_EQ(Distribution(), Kernel());
}

TEST_F(DistributionScript, AtMost120BytesArePrinted) {
    EXPECT_EQ(DistributionOf("NAME=" + std::string(120, 'a') + "\n"), std::string(120, 'a'));
    EXPECT_EQ(DistributionOf("NAME=" + std::string(300, 'a') + "\nVERSION=1\n"),
              std::string(120, 'a'));
}

TEST_F(DistributionScript, ALongTextIsNotCutInsideACharacter) {
    std::string characters;  // two bytes each
    for (int i = 0; i < 100; ++i) {
        characters += "\xC3\xA9";
    }
    LayOver(kxtest::WriteFile("os-release", "NAME=x" + characters + "\n"));
    EXPECT_EQ(Distribution("LC_ALL=C "), "x" + characters.substr(0, 118));
    EXPECT_EQ(Distribution("LC_ALL=C.UTF-8 "), "x" + characters.substr(0, 118));
    EXPECT_EQ(DistributionOf("NAME=" + characters.substr(0, 120) + "\n"),
              characters.substr(0, 120));
}

TEST_F(DistributionScript, BytesThatAreNoTextStayOneShortLine) {
    std::string bytes = "NAME=";
    for (int i = 1; i < 256; ++i) {
        if (i != '\n') {
            bytes += static_cast<char>(i);
        }
    }
    const std::string text = DistributionOf(bytes + "\n");
    EXPECT_EQ(text.size(), 120U);
    EXPECT_EQ(text.find('\n'), std::string::npos);
}

TEST_F(DistributionScript, ReadsNoMoreThan16KiB) {
    const std::string last = "NAME=Last\n";
    const std::string lines(16384 - last.size(), '\n');
    EXPECT_EQ(DistributionOf(lines + last), "Last");
    EXPECT_EQ(DistributionOf("\n" + lines + last), Kernel());  // its end was not seen
    EXPECT_EQ(DistributionOf(lines + "\n\n\n\n\n\n" + last), Kernel());
    EXPECT_EQ(DistributionOf("X=" + std::string(1000000, 'x') + "\nNAME=Beyond\n"), Kernel());
}

TEST_F(DistributionScript, NoPatternInTheFileIsTakenForFileNames) {
    EXPECT_EQ(DistributionOf("*\n/*\nNAME=/e*c\n"), "/e*c");
}

TEST_F(DistributionScript, StartsNoOtherProgram) {
    EXPECT_EQ(DistributionOf("NAME=Some\n"), "Some");
    EXPECT_EQ(Distribution("PATH=/nowhere "), "Some");
    LayOver("/dev/null");
    EXPECT_EQ(Distribution("PATH=/nowhere "), Kernel());
}

TEST_F(DistributionScript, RefusesAnyOtherAction) {
    const std::string script = kScript;
    const std::string usage = "usage: resmon_export.sh get_linux_dist_ver\n2";
    EXPECT_EQ(Capture("(" + script + " other_action; echo $?)"), usage);
    EXPECT_EQ(Capture("(" + script + "; echo $?)"), usage);
    EXPECT_EQ(Capture("(" + script + " other_action 2>/dev/null)"), "");
}
