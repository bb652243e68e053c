// read_container_id: the files of a real process, with fixtures mounted in their place.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <string>

#include "installation.h"
#include "kxe_base.h"

namespace {

const std::string kId = "00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff";

bool MountOver(const std::string& fixture, const std::string& target) {
    return mount(fixture.c_str(), target.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

// What read_container_id gives for a process in place of whose two files these lie; "?" when the
// mounts are not permitted. Runs in a child process with mounts of its own.
std::string ReadOver(const std::string& first, const std::string& second) {
    int channel[2];
    EXPECT_EQ(pipe(channel), 0);
    const pid_t child = fork();
    if (child == 0) {
        char id[65] = "?";
        const std::string process = "/proc/" + std::to_string(getpid());
        if (unshare(CLONE_NEWNS) == 0 &&
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
            MountOver(first, process + "/cgroup") && MountOver(second, process + "/mountinfo")) {
            alarm(60);
            (void)read_container_id(getpid(), id, sizeof id);
        }
        const bool written = write(channel[1], id, sizeof id) == sizeof id;
        _exit(written ? 0 : 1);
    }
    char id[65] = {};
    close(channel[1]);
    EXPECT_EQ(read(channel[0], id, sizeof id), static_cast<ssize_t>(sizeof id));
    close(channel[0]);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    return id;
}

// The same for two texts.
std::string ReadWith(const std::string& cgroup, const std::string& mountinfo) {
    return ReadOver(kxtest::WriteFile("cgroup", cgroup), kxtest::WriteFile("mountinfo", mountinfo));
}

std::string HostnameMount(const std::string& id) {
    return "1 2 8:1 /var/lib/docker/containers/" + id + "/hostname /etc/hostname rw - ext4 x rw\n";
}

}  // namespace

using ReadContainerId = kxtest::InstallationTest;

TEST_F(ReadContainerId, ReadsTheGroup) {
    const std::string id = ReadWith("0::/docker/" + kId + "\n", "");
    if (id == "?") {
        GTEST_SKIP() << "not permitted to mount";
    }
    EXPECT_EQ(id, kId);
}

TEST_F(ReadContainerId, ReadsTheMountsInsideACgroupNamespace) {
    const std::string id = ReadWith("0::/\n", HostnameMount(kId));
    if (id == "?") {
        GTEST_SKIP() << "not permitted to mount";
    }
    EXPECT_EQ(id, kId);
}

TEST_F(ReadContainerId, FindsAnIdBehindManyMounts) {
    std::string mounts;
    for (int i = 0; i < 2000; ++i) {
        mounts += "1 2 8:1 / /mnt/" + std::to_string(i) + " rw - ext4 /dev/sda1 rw\n";
    }
    const std::string id = ReadWith("0::/\n", mounts + HostnameMount(kId));
    if (id == "?") {
        GTEST_SKIP() << "not permitted to mount";
    }
    EXPECT_EQ(id, kId);
}

TEST_F(ReadContainerId, IsEmptyOutsideOfContainers) {
    const std::string id = ReadWith("0::/user.slice\n", "");
    if (id == "?") {
        GTEST_SKIP() << "not permitted to mount";
    }
    EXPECT_EQ(id, "");
}

TEST_F(ReadContainerId, DoesNotWaitForAPipeInPlaceOfAFile) {
    const std::string pipe = kxtest::InstallationRoot() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::string id = ReadOver(pipe, pipe);
    if (id == "?") {
        GTEST_SKIP() << "not permitted to mount";
    }
    EXPECT_EQ(id, "");
}

TEST_F(ReadContainerId, FailsForAProcessThatIsNotThere) {
    char id[65] = "before";
    EXPECT_EQ(read_container_id(INT_MAX, id, sizeof id), -1);
    EXPECT_STREQ(id, "");
}

TEST_F(ReadContainerId, FailsForANumberThatIsNoProcess) {
    for (const pid_t pid : {0, -1}) {
        char id[65] = "before";
        EXPECT_EQ(read_container_id(pid, id, sizeof id), -1) << pid;
        EXPECT_STREQ(id, "") << pid;
    }
}

TEST_F(ReadContainerId, FailsWithoutRoomForAWholeId) {
    char id[64] = "before";
    EXPECT_EQ(read_container_id(getpid(), id, sizeof id), -1);
    EXPECT_STREQ(id, "");
    char untouched = 'x';
    EXPECT_EQ(read_container_id(getpid(), &untouched, 0), -1);
    EXPECT_EQ(untouched, 'x');
    EXPECT_EQ(read_container_id(getpid(), nullptr, 65), -1);
}
