#include "kxectl/bundle.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cerrno>

#include "installation.h"

namespace fs = std::filesystem;

using kxectl::Collected;
using kxectl::CollectFiles;
using kxtest::InstallationRoot;
using kxtest::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class Bundle : public kxtest::InstallationTest {};

constexpr char kLog[] = "var/log/agent/kxepinfo/kxepinfo.log";

}  // namespace

TEST_F(Bundle, HasTheKnownFilesAndNoOther) {
    WriteFile("config/server.ini", "[config]\naddr=10.0.0.1\n");
    WriteFile("config/other.ini", "x");
    WriteFile(kLog, "a line\n");
    const Collected collected = CollectFiles(InstallationRoot());
    ASSERT_EQ(collected.entries.size(), 2U);
    EXPECT_EQ(collected.entries[0].name, "config/server.ini");
    EXPECT_EQ(collected.entries[0].content, "[config]\naddr=10.0.0.1\n");
    EXPECT_EQ(collected.entries[1].name, kLog);
    EXPECT_THAT(collected.left_out, IsEmpty());
}

TEST_F(Bundle, HasNoSecretsAndSaysSo) {
    WriteFile("config/server.ini", "password=hidden\ntoken=hidden\n");
    WriteFile("config/agent_cfg.json", R"({"secret":
        "hidden"})");
    WriteFile(kLog, "E https://u:hidden@h\n");
    const Collected collected = CollectFiles(InstallationRoot());
    ASSERT_EQ(collected.entries.size(), 3U);
    for (const auto& entry : collected.entries) {
        EXPECT_THAT(entry.content, testing::Not(HasSubstr("hidden")));
    }
    EXPECT_THAT(collected.left_out,
                ElementsAre("config/server.ini: 2 places that may hold secrets",
                            "config/agent_cfg.json: 1 places that may hold secrets",
                            std::string(kLog) + ": 1 places that may hold secrets"));
}

TEST_F(Bundle, HasNoJsonThatIsNone) {
    WriteFile("config/agent_cfg.json", "{\"secret\": ");
    const Collected collected = CollectFiles(InstallationRoot());
    EXPECT_THAT(collected.entries, IsEmpty());
    EXPECT_THAT(collected.left_out, ElementsAre("config/agent_cfg.json: no JSON, so that secrets "
                                                "in it cannot be told"));
}

TEST_F(Bundle, FollowsNoLinkToAFileOrThroughADirectory) {
    WriteFile("elsewhere/kxepinfo.log", "hidden");
    fs::create_directories(InstallationRoot() / "config");
    fs::create_symlink(InstallationRoot() / "elsewhere/kxepinfo.log",
                       InstallationRoot() / "config/server.ini");
    fs::create_directories(InstallationRoot() / "var/log/agent");
    fs::create_symlink(InstallationRoot() / "elsewhere",
                       InstallationRoot() / "var/log/agent/kxepinfo");
    const Collected collected = CollectFiles(InstallationRoot());
    EXPECT_THAT(collected.entries, IsEmpty());
    EXPECT_THAT(collected.left_out,
                testing::Contains("config/server.ini: Too many levels of symbolic links"));
    EXPECT_THAT(collected.left_out, testing::Contains(std::string(kLog) + ": Not a directory"));
}

TEST_F(Bundle, WaitsForNoPipe) {
    fs::create_directories(InstallationRoot() / "config");
    ASSERT_EQ(mkfifo((InstallationRoot() / "config/ipc.ini").c_str(), 0600), 0);
    EXPECT_THAT(CollectFiles(InstallationRoot()).left_out,
                ElementsAre("config/ipc.ini: no regular file"));
}

TEST_F(Bundle, HasTheLastWholeLinesOfALongLog) {
    std::string last = "last " + std::string(kxectl::kMostOfAFile - 10, '.');
    last += "\n";
    WriteFile(kLog, "password=" + std::string(20, 'x') + "\n" + last);
    const Collected collected = CollectFiles(InstallationRoot());
    ASSERT_EQ(collected.entries.size(), 1U);
    EXPECT_EQ(collected.entries[0].content, last);
    EXPECT_THAT(collected.left_out, ElementsAre(std::string(kLog) + ": all but the last MiB"));
}

TEST_F(Bundle, HasNothingOfALogWithoutLines) {
    WriteFile(kLog, std::string(kxectl::kMostOfAFile + 1, 'x'));
    const Collected collected = CollectFiles(InstallationRoot());
    ASSERT_EQ(collected.entries.size(), 1U);
    EXPECT_EQ(collected.entries[0].content, "");
}

TEST_F(Bundle, HasNoEnormousConfiguration) {
    WriteFile("config/ipc.ini", std::string(kxectl::kMostOfAFile + 1, ' '));
    const Collected collected = CollectFiles(InstallationRoot());
    EXPECT_THAT(collected.entries, IsEmpty());
    EXPECT_THAT(collected.left_out, ElementsAre("config/ipc.ini: more than 1 MiB"));
}

TEST_F(Bundle, IsForItsOwnerAlone) {
    umask(0);
    const fs::path file = InstallationRoot() / "new";
    ASSERT_TRUE(kxectl::WriteNewFile(file.string(), "content"));
    EXPECT_EQ(kxtest::ReadFile(file), "content");
    struct stat status {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(Bundle, ReplacesNoFileAndNoLink) {
    const fs::path file = WriteFile("there", "old");
    fs::create_symlink("nowhere", InstallationRoot() / "link");
    for (const char* const name : {"there", "link"}) {
        testing::internal::CaptureStderr();
        EXPECT_FALSE(kxectl::WriteNewFile((InstallationRoot() / name).string(), "new"));
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("cannot make "));
    }
    EXPECT_EQ(kxtest::ReadFile(file), "old");
    EXPECT_FALSE(fs::exists(InstallationRoot() / "nowhere"));
}
