#include "collectors/distribution.h"

#include "sysinfo_fixture.h"

using kxtest::LoggedLines;
using kxtest::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr char kBegin[] = "/bin/bash ";
constexpr char kEnd[] = "/resmon_export.sh get_linux_dist_ver";

struct Built {
    int status;
    std::string command;
};

Built Build(const std::string& directory) {
    char command[kDistributionCommandSize];
    const int status = BuildDistributionCommand(directory.c_str(), command);
    return {status, command};
}

class Distribution : public SysInfoTest {
  protected:
    // Runs a script of this content; the text is left in `text`.
    int Read(const std::string& script) {
        kxtest::WriteFile("bin/resmon_export.sh", script);
        return Read();
    }
    int Read() { return ReadDistribution(text, sizeof text); }

    static LogLine Failed() {
        return {2, "sysinfo", "execute m_cmd fail, m_cmd is " + Command() + "\n"};
    }
    static std::string Command() {
        return kBegin + (kxtest::InstallationRoot() / "bin").string() + kEnd;
    }

    char text[128] = "old";
};

using DistributionCommand = SysInfoTest;

}  // namespace

TEST_F(DistributionCommand, RunsTheScriptOfTheDirectory) {
    const Built built = Build("/opt/agent/bin");
    EXPECT_EQ(built.status, 0);
    EXPECT_EQ(built.command, "/bin/bash /opt/agent/bin/resmon_export.sh get_linux_dist_ver");
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(DistributionCommand, HoldsTheDirectoryWithoutQuotes) {
    EXPECT_EQ(Build("/opt/my agent").command,
              "/bin/bash /opt/my agent/resmon_export.sh get_linux_dist_ver");
}

TEST_F(DistributionCommand, FitsTheLongestDirectoryOfAnExpandedPath) {
    const std::string directory(4095, 'd');
    EXPECT_EQ(Build(directory).status, 0);
    EXPECT_EQ(Build(directory).command, kBegin + directory + kEnd);
}

TEST_F(DistributionCommand, FitsADirectoryOf4113Characters) {
    const std::string directory(4113, 'd');
    EXPECT_EQ(Build(directory).status, 0);
    EXPECT_EQ(Build(directory).command, kBegin + directory + kEnd);
}

// The limit is one more than what fits.
TEST_F(DistributionCommand, LosesItsLastCharacterUnnoticedAt4114) {
    const std::string directory(4114, 'd');
    EXPECT_EQ(Build(directory).status, 0);
    EXPECT_EQ(Build(directory).command, kBegin + directory + "/resmon_export.sh get_linux_dist_ve");
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(DistributionCommand, IsToldOfAndCutBeyond4114) {
    const std::string directory(4115, 'd');
    const Built built = Build(directory);
    EXPECT_EQ(built.status, -1);
    EXPECT_EQ(built.command, kBegin + directory + "/resmon_export.sh get_linux_dist_v");
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "sysinfo",
                                    "execute m_cmd fail, m_cmd length out of range,m_cmd is:" +
                                        directory + kEnd + ", limit is 4160 bytes\n"}));
}

TEST_F(Distribution, IsTheLineThatTheScriptPrints) {
    EXPECT_EQ(Read("echo $1 of this machine"), 0);
    EXPECT_STREQ(text, "get_linux_dist_ver of this machine");
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(Distribution, NeedsNoRightToExecuteTheScript) {
    const auto script = kxtest::WriteFile("bin/resmon_export.sh", "echo a");
    std::filesystem::permissions(script, std::filesystem::perms::owner_read);
    EXPECT_EQ(Read(), 0);
    EXPECT_STREQ(text, "a");
}

TEST_F(Distribution, MayBe126Characters) {
    EXPECT_EQ(Read("printf '%126s\\n' end"), 0);
    EXPECT_EQ(text, std::string(123, ' ') + "end");
}

TEST_F(Distribution, IsEmptyWhenTheScriptPrintsTooMuch) {
    EXPECT_EQ(Read("printf '%127s\\n' end"), -1);
    EXPECT_STREQ(text, "");
    EXPECT_THAT(LoggedLines(), ElementsAre(Failed()));
}

TEST_F(Distribution, IsEmptyWhenTheScriptPrints200Characters) {
    EXPECT_EQ(Read("printf '%200s\\n' end"), -1);
    EXPECT_STREQ(text, "");
    EXPECT_THAT(LoggedLines(), ElementsAre(Failed()));
}

TEST_F(Distribution, IsEmptyWhenTheCommandCannotBeStarted) {
    std::string seen;
    Machine().shell = [&](const std::string& command) {
        seen = command;
        return std::nullopt;
    };
    EXPECT_EQ(Read(), -1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(seen, Command());
    EXPECT_THAT(LoggedLines(), ElementsAre(Failed()));
}

TEST_F(Distribution, IsEmptyWithoutTheScriptWhichIsNoFailure) {
    EXPECT_EQ(Read(), 0);
    EXPECT_STREQ(text, "");
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(Distribution, IsEmptyWithoutBashWhichIsNoFailure) {
    kxtest::WriteFile("bin/resmon_export.sh", "echo a");
    const auto no_program = kxtest::WriteFile("no_program", "");
    const MountedFile mounted(no_program, "/bin/bash");
    if (!mounted.IsMounted()) {
        GTEST_SKIP() << "no right to mount";
    }
    EXPECT_EQ(Read(), 0);
    EXPECT_STREQ(text, "");
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(Distribution, AScriptThatFailsKeepsWhatItPrinted) {
    EXPECT_EQ(Read("echo half; exit 1"), 0);
    EXPECT_STREQ(text, "half");
}
