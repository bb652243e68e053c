// The steps of writing the mirror, their failures and what is released in which order. The lock and
// the INI file are recorded instead of real.
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>

#include "common/exitflag.h"
#include "ipc/cfgparser.h"
#include "ipc_fixture.h"
#include "open_files.h"

namespace fs = std::filesystem;
using kxtest::Agent;
using kxtest::LoggedLines;
using kxtest::LogLine;
using kxtest::PackedAddresses;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class NetConfigSteps : public kxtest::IpcTest {
  protected:
    void SetUp() override {
        IpcTest::SetUp();
        fs::create_directory(kxtest::InstallationRoot() / "config");
        RecordLock();
        RecordIni();
    }

    void RecordLock() {
        Agent().kxe_glock_init = [this](const char* name, kxe_glock** lock) {
            steps.push_back(std::string("init ") + name);
            *lock = init_error == 0 ? reinterpret_cast<kxe_glock*>(this) : nullptr;
            return init_error;
        };
        Agent().kxe_glock_acquire_timeout = [this](kxe_glock* lock, unsigned timeout_ms) {
            EXPECT_EQ(lock, reinterpret_cast<kxe_glock*>(this));
            steps.push_back("acquire " + std::to_string(timeout_ms));
            return acquire_error;
        };
        Agent().kxe_glock_release = [this](kxe_glock*) { steps.emplace_back("release"); };
        Agent().kxe_glock_destroy = [this](kxe_glock*) { steps.emplace_back("destroy"); };
    }

    void RecordIni() {
        Agent().ini_file_load = [this](const char* path) {
            steps.push_back(std::string("load ") + (path == expanded ? "it" : path));
            return can_load ? reinterpret_cast<ini_file*>(this) : nullptr;
        };
        Agent().ini_file_del = [this](ini_file*, const char* section) {
            steps.push_back(std::string("del ") + section);
            return change_result;
        };
        Agent().ini_file_set = [this](ini_file*, const char* section, const char* key,
                                      const char* value) {
            steps.push_back(std::string("set ") + section + " " + key + "=" + value);
            return change_result;
        };
        Agent().ini_file_save = [this](ini_file*, const char* path, int flags) {
            steps.push_back(std::string("save ") + (path == expanded ? "it " : path) +
                            std::to_string(flags));
            errno = save_error;
            return save_error == 0 ? 0 : -1;
        };
        Agent().ini_file_free = [this](ini_file*) {
            steps.emplace_back("free");
            descriptor_at_free = kxtest::DescriptorOf(file);
        };
    }

    bool Mirror() {
        const std::string answer = PackedAddresses("1", std::vector<std::string>{"a"});
        return ParseCfgcGlobalIp(answer.data(), kxtest::Size(answer));
    }

    const fs::path file = kxtest::InstallationRoot() / "config/net_config.ini";
    const std::string expanded =
        (kxtest::InstallationRoot() / "bin/../config/net_config.ini").string();
    int init_error = 0;
    int acquire_error = 0;
    bool can_load = true;
    int change_result = 0;
    int save_error = 0;
    int descriptor_at_free = -2;
    std::vector<std::string> steps;
};

constexpr char kInit[] = "init Global\\{C9580F9C-A601-4300-879D-F54133492687}";
constexpr char kAcquire[] = "acquire 10000";

}  // namespace

TEST_F(NetConfigSteps, AreTakenInOrderUnderTheLock) {
    EXPECT_TRUE(Mirror());
    EXPECT_THAT(steps,
                ElementsAre(kInit, kAcquire, "load it", "del multi_ip", "set multi_ip counts=1",
                            "set multi_ip ip0=a", "save it 0", "release", "destroy", "free"));
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(NetConfigSteps, AMissingFileIsMadeBeforeItIsLoaded) {
    bool there = false;
    const auto load = Agent().ini_file_load;
    Agent().ini_file_load = [&](const char* path) {
        there = fs::is_empty(file);
        return load(path);
    };
    EXPECT_TRUE(Mirror());
    EXPECT_TRUE(there);
}

// The descriptor of the new file is the last thing to go.
TEST_F(NetConfigSteps, ANewFileStaysOpenUntilAllElseIsReleased) {
    EXPECT_TRUE(Mirror());
    EXPECT_GE(descriptor_at_free, 0);
    EXPECT_EQ(kxtest::DescriptorOf(file), -1);
}

TEST_F(NetConfigSteps, ANewFileIsNotInheritedByChildProcesses) {
    int flags = 0;
    Agent().ini_file_free = [&](ini_file*) { flags = fcntl(kxtest::DescriptorOf(file), F_GETFD); };
    EXPECT_TRUE(Mirror());
    EXPECT_EQ(flags, FD_CLOEXEC);
}

TEST_F(NetConfigSteps, AFileThatIsThereIsNotOpened) {
    kxtest::WriteFile("config/net_config.ini", "[a]\n");
    EXPECT_TRUE(Mirror());
    EXPECT_EQ(descriptor_at_free, -1);
    EXPECT_EQ(kxtest::ReadFile(file), "[a]\n");
}

TEST_F(NetConfigSteps, EndAtAnAnswerThatCannotBeRead) {
    EXPECT_FALSE(ParseCfgcGlobalIp("garbage", 7));
    EXPECT_THAT(steps, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "cfgparser", "xmsg_unpack pXmsgData failed"},
                                           LogLine{2, "cfgparser", "get ip from cfgc failed"}));
}

// The message names another file than the one that is meant, as it always did.
TEST_F(NetConfigSteps, EndWithoutAPath) {
    Agent().dirutils_path_transform = [](const char*, char* out, size_t) { out[0] = '\0'; };
    EXPECT_FALSE(Mirror());
    EXPECT_THAT(steps, IsEmpty());
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "cfgparser", "transform server_port file path failed"}));
}

TEST_F(NetConfigSteps, ExpandThePathIntoAKibibyte) {
    size_t room = 0;
    Agent().dirutils_path_transform = [&](const char* in, char* out, size_t size) {
        EXPECT_STREQ(in, "@/../config/net_config.ini");
        EXPECT_EQ(std::count(out, out + size, '\0'), static_cast<long>(size));
        room = size;
    };
    EXPECT_FALSE(Mirror());
    EXPECT_EQ(room, 1024U);
}

TEST_F(NetConfigSteps, EndWithoutALock) {
    init_error = ENOENT;
    EXPECT_FALSE(Mirror());
    EXPECT_THAT(steps, ElementsAre(kInit));
    EXPECT_FALSE(fs::exists(file));
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{1, "cfgparser", "init glock fail, err: 2"}));
}

// Release runs although the lock was not acquired; the library allows it.
TEST_F(NetConfigSteps, EndWhenTheLockIsNotAcquired) {
    acquire_error = ETIMEDOUT;
    EXPECT_FALSE(Mirror());
    EXPECT_THAT(steps, ElementsAre(kInit, kAcquire, "release", "destroy"));
    EXPECT_FALSE(fs::exists(file));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{1, "cfgparser", "acquire glock fail, err: 110"}));
}

TEST_F(NetConfigSteps, DoNotWaitForTheLockOnceAStopIsRequested) {
    WriteExitFlag(&s_exitFlag, 1);
    const bool mirrored = Mirror();
    WriteExitFlag(&s_exitFlag, 0);
    EXPECT_TRUE(mirrored);
    EXPECT_THAT(steps, Contains("acquire 1"));
}

TEST_F(NetConfigSteps, GoOnWhenTheFileCannotBeMade) {
    fs::remove(kxtest::InstallationRoot() / "config");
    EXPECT_TRUE(Mirror());
    EXPECT_THAT(steps,
                ElementsAre(kInit, kAcquire, "load it", "del multi_ip", "set multi_ip counts=1",
                            "set multi_ip ip0=a", "save it 0", "release", "destroy", "free"));
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "cfgparser",
                                                   "Failed to create file: " + expanded +
                                                       " with error code: 2\n"}));
}

TEST_F(NetConfigSteps, EndWhenTheFileCannotBeLoaded) {
    can_load = false;
    EXPECT_FALSE(Mirror());
    EXPECT_THAT(steps, ElementsAre(kInit, kAcquire, "load it", "release", "destroy"));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "cfgparser", "load file " + expanded + " failed"}));
    EXPECT_EQ(kxtest::DescriptorOf(file), -1);
}

TEST_F(NetConfigSteps, GoOnWhateverChangingTheSectionReturns) {
    change_result = -1;
    EXPECT_TRUE(Mirror());
    EXPECT_THAT(steps,
                ElementsAre(kInit, kAcquire, "load it", "del multi_ip", "set multi_ip counts=1",
                            "set multi_ip ip0=a", "save it 0", "release", "destroy", "free"));
}

TEST_F(NetConfigSteps, FailWhenTheFileCannotBeSaved) {
    save_error = ENOSPC;
    EXPECT_FALSE(Mirror());
    EXPECT_THAT(steps,
                ElementsAre(kInit, kAcquire, "load it", "del multi_ip", "set multi_ip counts=1",
                            "set multi_ip ip0=a", "save it 0", "release", "destroy", "free"));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "cfgparser",
                                    "save multi_ip to file: " + expanded + " failed err: 28"}));
}

TEST_F(NetConfigSteps, FailTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(0);
    save_error = ENOSPC;
    EXPECT_FALSE(Mirror());
    can_load = false;
    EXPECT_FALSE(Mirror());
    acquire_error = ETIMEDOUT;
    EXPECT_FALSE(Mirror());
    init_error = ENOENT;
    EXPECT_FALSE(Mirror());
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
