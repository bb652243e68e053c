#include "collectors/vmid.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "sysinfo_fixture.h"

using kxtest::Agent;
using kxtest::LoggedLines;
using kxtest::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr uint64_t kVmid = 0x0123456789ABCDEF;

class Vmid : public SysInfoTest {
  protected:
    void SetUp() override {
        SysInfoTest::SetUp();
        Agent().nox_get_vmidid = [] { return kVmid; };
    }

    static void WriteAddress(const std::string& address) {
        kxtest::WriteFile("config/server.ini", "[config]\naddr=" + address + "\n");
    }
};

LogLine ServerIs(const std::string& address) {
    return {4, "sysinfo", "current server ip = " + address};
}

// A file that is long wherever one looks, and has no end.
int SeekAnywhereButToTheEnd(void* /*cookie*/, off64_t* offset, int whence) {
    *offset = 1000;
    return whence == SEEK_END ? -1 : 0;
}

int CountClosing(void* cookie) {
    *static_cast<int*>(cookie) += 1;
    return 0;
}

bool text_cannot_be_made = false;

// What the next function finds where its own variables will be.
[[gnu::noinline]] void LeaveTextBehind() {
    char text[65536];
    std::memset(text, 'x', sizeof text);
    text[sizeof text - 1] = '\0';
    asm volatile("" : : "r"(text) : "memory");  // it is really written
}

const LogLine kByMac{4, "sysinfo", "agent id calculated by MAC"};

}  // namespace

// In front of the agent's, which may fail without a byte written.
extern "C" int kxe_str_snprintf(char* buf, size_t size, const char* fmt, ...) {
    if (text_cannot_be_made) {
        return -1;
    }
    va_list arguments;
    va_start(arguments, fmt);
    const int length = std::vsnprintf(buf, size, fmt, arguments);
    va_end(arguments);
    return length;
}

TEST_F(Vmid, IsSoughtUnderNoChancePathWhenThePathsTextCannotBeMade) {
    static std::vector<std::string> paths;
    paths.clear();
    Agent().kxe_ini_file_load = [](const char* path) -> kxe_ini_file* {
        paths.emplace_back(path);
        return nullptr;
    };
    Agent().kxe_file_open = [](const char* path, const char* /*mode*/) -> FILE* {
        paths.emplace_back(path);
        return nullptr;
    };
    text_cannot_be_made = true;
    LeaveTextBehind();
    (void)GetVmid();
    text_cannot_be_made = false;
    EXPECT_THAT(paths, ::testing::Each(""));
    EXPECT_FALSE(paths.empty());
    EXPECT_THAT(LoggedLines(), ::testing::Contains(LogLine{2, "sysinfo", "load  failed"}));
}

TEST_F(Vmid, IsReportedWhenTheManagerIsOnThisMachine) {
    WriteAddress("127.0.0.1");
    EXPECT_EQ(GetVmid(), kVmid);
    EXPECT_THAT(LoggedLines(), ElementsAre(ServerIs("127.0.0.1")));
}

TEST_F(Vmid, APortMayFollowTheAddress) {
    WriteAddress("127.0.0.1:8443");
    EXPECT_EQ(GetVmid(), kVmid);
    EXPECT_THAT(LoggedLines(), ElementsAre(ServerIs("127.0.0.1:8443")));
}

TEST_F(Vmid, NineCharactersAreCompared) {
    WriteAddress("127.0.0.10");
    EXPECT_EQ(GetVmid(), kVmid);
    WriteAddress("127.0.0.1.example.com");
    EXPECT_EQ(GetVmid(), kVmid);
}

TEST_F(Vmid, IsNotReportedForAnotherManager) {
    for (const char* const address :
         {"192.0.2.1", "127.0.0.2", "127.0.0.", "127.0.0", "localhost", "x127.0.0.1", "::1", ""}) {
        WriteAddress(address);
        EXPECT_EQ(GetVmid(), 0U) << address;
    }
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(Vmid, IsNotReportedWithoutAnAddress) {
    kxtest::WriteFile("config/server.ini", "addr=127.0.0.1\n[other]\naddr=127.0.0.1\n[config]\n");
    EXPECT_EQ(GetVmid(), 0U);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(Vmid, AnAddressFileThatIsMissingIsToldOf) {
    EXPECT_EQ(GetVmid(), 0U);
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(LogLine{2, "sysinfo", "load " + Expanded("../config/server.ini") + " failed"}));
}

TEST_F(Vmid, AnAddressFileThatCannotBeLoadedIsToldOf) {
    kxtest::WriteFile("config/server.ini", std::string("[config]\naddr=127.0.0.1\n\0", 26));
    EXPECT_EQ(GetVmid(), 0U);
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(LogLine{2, "sysinfo", "load " + Expanded("../config/server.ini") + " failed"}));
}

TEST_F(Vmid, AMachineIdOfFiveBytesTakesItsPlace) {
    WriteAddress("127.0.0.1");
    kxtest::WriteFile("config/machineid", "12345");
    EXPECT_EQ(GetVmid(), 0U);
    EXPECT_THAT(LoggedLines(), ElementsAre(ServerIs("127.0.0.1"), kByMac));
}

TEST_F(Vmid, AMachineIdOfFourBytesDoesNot) {
    WriteAddress("127.0.0.1");
    kxtest::WriteFile("config/machineid", "1234");
    EXPECT_EQ(GetVmid(), kVmid);
    kxtest::WriteFile("config/machineid", "");
    EXPECT_EQ(GetVmid(), kVmid);
    EXPECT_THAT(LoggedLines(), ElementsAre(ServerIs("127.0.0.1"), ServerIs("127.0.0.1")));
}

TEST_F(Vmid, AMachineIdThatCannotBeSeekedDoesNot) {
    WriteAddress("127.0.0.1");
    int closed = 0;
    Agent().kxe_file_open = [&](const char*, const char* mode) {
        cookie_io_functions_t functions{};
        functions.seek = SeekAnywhereButToTheEnd;
        functions.close = CountClosing;
        return fopencookie(&closed, mode, functions);
    };
    EXPECT_EQ(GetVmid(), kVmid);
    EXPECT_EQ(closed, 1);
    EXPECT_THAT(LoggedLines(), ElementsAre(ServerIs("127.0.0.1")));
}

TEST_F(Vmid, AMachineIdThatIsAPipeIsNotWaitedFor) {
    WriteAddress("127.0.0.1");
    const auto path = kxtest::InstallationRoot() / "config/machineid";
    ASSERT_EQ(mkfifo(path.c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_EQ(GetVmid(), kVmid);
}

TEST_F(Vmid, TheMachineIdIsClosedWhateverItsLength) {
    WriteAddress("127.0.0.1");
    for (const char* const id : {"", "1234", "12345"}) {
        int descriptor = -1;
        Agent().kxe_file_open = [&](const char*, const char*) {
            std::FILE* const file = std::tmpfile();
            std::fputs(id, file);
            descriptor = fileno(file);
            return file;
        };
        (void)GetVmid();
        ASSERT_GE(descriptor, 0);
        EXPECT_EQ(fcntl(descriptor, F_GETFD), -1) << "left open: '" << id << "'";
    }
}

TEST_F(Vmid, TheAddressFileIsReleasedBeforeTheMachineIdIsOpened) {
    std::vector<std::string> steps;
    Agent().kxe_ini_file_load = [&](const char* path) {
        steps.push_back(std::string("load ") + path);
        return reinterpret_cast<kxe_ini_file*>(&steps);
    };
    Agent().kxe_ini_file_get = [&](kxe_ini_file*, const char* section, const char* key) {
        steps.push_back(std::string("get ") + section + " " + key);
        return "127.0.0.1";
    };
    Agent().kxe_ini_file_free = [&](kxe_ini_file*) { steps.emplace_back("free"); };
    Agent().kxe_file_open = [&](const char* path, const char* mode) {
        steps.push_back(std::string("open ") + path + " " + mode);
        errno = ENOENT;
        return nullptr;
    };
    EXPECT_EQ(GetVmid(), kVmid);
    EXPECT_THAT(steps, ElementsAre("load " + Expanded("../config/server.ini"), "get config addr",
                                   "free", "open " + Expanded("../config/machineid") + " rb"));
}

TEST_F(Vmid, TheAddressFileIsReleasedWithoutAnAddress) {
    int released = 0;
    Agent().kxe_ini_file_load = [&](const char*) {
        return reinterpret_cast<kxe_ini_file*>(&released);
    };
    Agent().kxe_ini_file_get = [](kxe_ini_file*, const char*, const char*) { return nullptr; };
    Agent().kxe_ini_file_free = [&](kxe_ini_file*) { ++released; };
    EXPECT_EQ(GetVmid(), 0U);
    EXPECT_EQ(released, 1);
}
