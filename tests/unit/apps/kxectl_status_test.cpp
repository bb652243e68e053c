#include "kxectl/status.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>

#include "installation.h"
#include "kxectl/process.h"

using kxectl::FindLastUpload;
using kxectl::Status;
using kxtest::InstallationRoot;
using kxtest::WriteFile;
using testing::HasSubstr;

namespace {

class StatusTest : public kxtest::InstallationTest {};

constexpr char kAccepted[] =
    "2026-11-21 15:36:23.081+01:00 D 7/8 kxepinfo:63 send msg <type: 2> to mgr success\n";
constexpr char kRefused[] =
    "2026-11-21 15:36:25.081+01:00 E 7/8 kxepinfo:59 send msg <type: 2> to mgr failed with error: "
    "refused\n";
constexpr char kNotReached[] =
    "2026-11-21 15:36:27.081+01:00 E 7/8 kxepinfo:107 send msg to mgr failed with error msg: "
    "Connection refused\n";
constexpr char kOtherLine[] =
    "2026-11-21 15:36:29.081+01:00 I 7/8 kxepinfo:71 agent info changed\n";

Status Running() {
    Status status;
    status.root = "/opt";
    status.module = {0, 7, 0};
    status.program = "/opt/bin/kxehost";
    status.since = 1000000000;
    status.online = true;
    status.agent_id = "9";
    status.last_upload = {{"2026-11-21 15:36:23", true, ""}};
    status.versions = {{"kxectl", "1.0"}};
    status.settings = {{"config/x.ini", "s", "k", "40", true, "is wrong", 0}};
    return status;
}

}  // namespace

TEST(LastUpload, IsTheLastThatTheLogTells) {
    const std::string log = std::string(kAccepted) + kOtherLine;
    const auto upload = FindLastUpload(log);
    ASSERT_TRUE(upload);
    EXPECT_EQ(upload->time, "2026-11-21 15:36:23.081+01:00");
    EXPECT_TRUE(upload->accepted);
    EXPECT_EQ(upload->failure, "");
}

TEST(LastUpload, MayHaveFailed) {
    const auto refused = FindLastUpload(std::string(kAccepted) + kRefused);
    ASSERT_TRUE(refused);
    EXPECT_FALSE(refused->accepted);
    EXPECT_EQ(refused->failure, "send msg <type: 2> to mgr failed with error: refused");
    const auto not_reached = FindLastUpload(std::string(kAccepted) + kNotReached);
    ASSERT_TRUE(not_reached);
    EXPECT_EQ(not_reached->failure, "send msg to mgr failed with error msg: Connection refused");
}

TEST(LastUpload, IsNotToldByOtherLines) {
    for (const std::string& log :
         {std::string(), std::string("\n\n"), std::string(kOtherLine), std::string("no line"),
          std::string("a b c d e said: send msg <type: 2> to mgr success\n"),
          std::string("a b c d e send msg to cfg failed\n")}) {
        EXPECT_FALSE(FindLastUpload(log)) << log;
    }
}

TEST_F(StatusTest, ReadsTheLogOfTheInstallationButFollowsNoLink) {
    const auto log = WriteFile("var/log/agent/kxepinfo/kxepinfo.log", kAccepted);
    EXPECT_TRUE(kxectl::ReadLastUpload(InstallationRoot()));
    std::filesystem::rename(log, InstallationRoot() / "elsewhere");
    EXPECT_FALSE(kxectl::ReadLastUpload(InstallationRoot()));
    std::filesystem::create_symlink(InstallationRoot() / "elsewhere", log);
    EXPECT_FALSE(kxectl::ReadLastUpload(InstallationRoot()));
}

TEST_F(StatusTest, ReadsTheEndOfALongLog) {
    WriteFile("var/log/agent/kxepinfo/kxepinfo.log",
              kRefused + std::string(2U << 20U, '.') + "\n" + kAccepted);
    const auto upload = kxectl::ReadLastUpload(InstallationRoot());
    ASSERT_TRUE(upload);
    EXPECT_TRUE(upload->accepted);
}

TEST(Process, IsFoundByWhatTheKernelTells) {
    const std::string behind = " S 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 987 20 21\n";
    EXPECT_EQ(kxectl::StartTicks("12 (kxehost)" + behind), 987U);
    EXPECT_EQ(kxectl::StartTicks("12 (a) b (c)" + behind), 987U);
    EXPECT_FALSE(kxectl::StartTicks(""));
    EXPECT_FALSE(kxectl::StartTicks("12 (kxehost) S 1"));
    EXPECT_EQ(kxectl::BootTime("cpu 1 2\nbtime 1700000000\nprocesses 5\n"), 1700000000U);
    EXPECT_FALSE(kxectl::BootTime("cpu 1 2\nxbtime 5\n"));
    EXPECT_EQ(kxectl::UtcText(1000000000), "2001-09-09T01:46:40Z");
}

TEST(Process, RunsAFileThatHasBeenReplaced) {
    const std::string ours = "5581-5582 r-xp 00000000 fe:00 42                 /opt/kx/lib/a.so";
    const std::string other =
        "7f00-7f01 r--p 00000000 fe:00 43                 /opt/kxx/b (deleted)\n";
    EXPECT_EQ(kxectl::ReplacedFile(ours + "\n" + other, "/opt/kx"), "");
    EXPECT_EQ(kxectl::ReplacedFile(
                  "7f00-7f01 rw-p 00000000 00:00 0\n" + ours + " (deleted)\n" + other, "/opt/kx"),
              "/opt/kx/lib/a.so");
    EXPECT_EQ(kxectl::ReplacedFile("", "/opt/kx"), "");
    EXPECT_EQ(kxectl::ReplacedFileOf(0, "/"), "");
}

TEST(Process, HasStartedBeforeNow) {
    const auto start = kxectl::StartTime(getpid());
    ASSERT_TRUE(start);
    EXPECT_LE(*start, std::time(nullptr) + 1);
    EXPECT_GT(*start, std::time(nullptr) - 3600);
    EXPECT_THAT(kxectl::ProgramOf(getpid()), testing::StartsWith(InstallationRoot().string()));
    EXPECT_FALSE(kxectl::StartTime(-1));
    EXPECT_EQ(kxectl::ProgramOf(-1), "");
}

TEST_F(StatusTest, TellsWhereEachValueComesFrom) {
    WriteFile("config/kxepinfocfg.ini", "[flushgap]\nvalue=7\n");
    WriteFile("config/agent_id", "9\n");
    WriteFile("config/agent_cfg.json", R"({"version": {"components": "1.2", "plus": 3}})");
    const Status status = kxectl::Look(InstallationRoot(), "0.9");
    EXPECT_EQ(status.module.failure, ENOENT);
    EXPECT_EQ(status.agent_id, "9");
    EXPECT_FALSE(status.last_upload);
    EXPECT_EQ(status.versions, (std::vector<std::pair<std::string, std::string>>{
                                   {"kxectl", "0.9"}, {"components", "1.2"}}));
    ASSERT_EQ(status.settings.size(), 5U);
    EXPECT_EQ(status.settings[0].value, "7");
    EXPECT_FALSE(status.settings[0].is_default);
    EXPECT_EQ(status.settings[1].value, "3");
    EXPECT_TRUE(status.settings[1].is_default);
}

TEST_F(StatusTest, SaysWhetherTheLastUploadInTheLogMayNotBeTheLast) {
    constexpr char kLogLevel[] = "config/log/agent/kxepinfo/agent/log.ini";
    WriteFile("var/log/agent/kxepinfo/kxepinfo.log", kRefused);
    for (const char* const level : {"2", "3"}) {
        WriteFile(kLogLevel, std::string("[log]\nlevel=") + level + "\n");
        const Status status = kxectl::Look(InstallationRoot(), "0.9");
        EXPECT_TRUE(status.last_upload && status.last_upload->may_be_older);
        EXPECT_THAT(kxectl::StatusForPeople(status),
                    HasSubstr("error: refused; later ones, if accepted, are in a log of level 4"));
        EXPECT_THAT(kxectl::StatusAsJson(status), HasSubstr("\"may_be_older\": true"));
    }
    WriteFile(kLogLevel, "[log]\nlevel=4\n");
    const Status status = kxectl::Look(InstallationRoot(), "0.9");
    EXPECT_TRUE(status.last_upload && !status.last_upload->may_be_older);
    EXPECT_THAT(kxectl::StatusForPeople(status), HasSubstr("error: refused\n"));
    EXPECT_THAT(kxectl::StatusAsJson(status), HasSubstr("\"may_be_older\": false"));
}

TEST_F(StatusTest, SurvivesFilesThatAreWrong) {
    WriteFile("config/agent_id", "nine");
    WriteFile("config/agent_cfg.json", "{");
    const Status status = kxectl::Look(InstallationRoot(), "0.9");
    EXPECT_EQ(status.agent_id, "");
    EXPECT_EQ(status.versions.size(), 1U);
}

TEST(StatusText, TellsAFactALine) {
    EXPECT_EQ(kxectl::StatusForPeople(Running()),
              "installation /opt\n"
              "module       process 7 of user 0 since 2001-09-09T01:46:40Z, /opt/bin/kxehost\n"
              "link         online\n"
              "agent id     9\n"
              "last upload  2026-11-21 15:36:23 accepted\n"
              "version      kxectl 1.0\n"
              "setting      [s] k = 40 (default; config/x.ini), in the file it is wrong\n");
}

TEST(StatusText, TellsWhatIsNotKnown) {
    Status status = Running();
    status.module = {ENOENT, 0, 0};
    status.online = std::nullopt;
    status.agent_id = "";
    status.last_upload = {{"then", false, "send msg\nfailed"}};
    status.settings[0].unreadable = EACCES;
    const std::string text = kxectl::StatusForPeople(status);
    EXPECT_THAT(text, HasSubstr("module       not there\n"
                                "link         unknown\n"
                                "agent id     not drawn yet\n"
                                "last upload  then send msg\\x0Afailed\n"));
    EXPECT_THAT(text, HasSubstr(", the file cannot be read: Permission denied\n"));
    status.module = {EACCES, 0, 0};
    EXPECT_THAT(kxectl::StatusForPeople(status),
                HasSubstr("module       unknown: Permission denied\n"));
    status.last_upload = std::nullopt;
    status.online = false;
    EXPECT_THAT(kxectl::StatusForPeople(status), HasSubstr("link         offline\n"));
    EXPECT_THAT(kxectl::StatusForPeople(status), HasSubstr("last upload  not in the log"));
}

TEST_F(StatusTest, TellsWhyIdAndLogAreNotKnown) {
    for (const char* const file : {"config/agent_id", "var/log/agent/kxepinfo/kxepinfo.log"}) {
        const auto path = InstallationRoot() / file;
        std::filesystem::create_directories(path.parent_path());
        std::filesystem::create_symlink(path, path);  // which root cannot read either
    }
    EXPECT_THAT(kxectl::StatusForPeople(kxectl::Look(InstallationRoot(), "0.9")),
                HasSubstr("agent id     unknown: Too many levels of symbolic links\n"
                          "last upload  unknown: Too many levels of symbolic links\n"));
}

TEST(StatusText, IsJsonForScripts) {
    const std::string json = kxectl::StatusAsJson(Running());
    EXPECT_THAT(json, HasSubstr("\"process\": 7"));
    EXPECT_THAT(json, HasSubstr("\"online\": true"));
    EXPECT_THAT(json, HasSubstr("\"agent_id\": 9"));
    EXPECT_THAT(json, HasSubstr("\"accepted\": true"));
    EXPECT_THAT(json, HasSubstr("\"default\": true"));
    EXPECT_THAT(json, HasSubstr("\"fault\": \"is wrong\""));
    Status status;
    status.module.failure = ENOENT;
    EXPECT_EQ(kxectl::StatusAsJson(status),
              "{\n  \"installation\": \"\",\n  \"module\": null,\n  \"online\": null,\n  "
              "\"agent_id\": null,\n"
              "  \"last_upload\": null,\n  \"versions\": {},\n  \"settings\": []\n}\n");
}
