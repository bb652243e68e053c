// The machine's id.
#include "vm_id.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <string>

#include "child_process.h"
#include "installation.h"
#include "nox_id.h"

namespace {

using noxipc::Fnv1a;
using noxipc::VmId;

// Known values of the hash.
TEST(VmId, IsHashedWithFnv1a) {
    EXPECT_EQ(0xcbf29ce484222325U, Fnv1a(""));
    EXPECT_EQ(0xaf63dc4c8601ec8cU, Fnv1a("a"));
    EXPECT_EQ(0x85944171f73967e8U, Fnv1a("foobar"));
}

TEST(VmId, IsMadeFromTheFirmwaresUuid) {
    EXPECT_EQ(Fnv1a("4c4c4544-0042"), VmId("4c4c4544-0042\n", "machine\n"));
}

TEST(VmId, DoesNotDependOnTheCaseInWhichTheKernelShowsTheUuid) {
    EXPECT_EQ(VmId("4c4c4544-00ab\n", ""), VmId("4C4C4544-00AB\n", ""));
}

TEST(VmId, IsMadeFromTheMachineIdWhenTheFirmwareTellsNothing) {
    EXPECT_EQ(Fnv1a("0123456789abcdef"), VmId("", "0123456789abcdef\n"));
    EXPECT_EQ(Fnv1a("m"), VmId(" \n", "m"));
}

TEST(VmId, DoesNotTakeAnUnsetUuidForOne) {
    EXPECT_EQ(Fnv1a("m"), VmId("00000000-0000-0000-0000-000000000000\n", "m\n"));
    EXPECT_EQ(Fnv1a("m"), VmId("FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF\n", "m\n"));
}

TEST(VmId, IsUnknownWhenNothingTellsIt) {
    EXPECT_EQ(0U, VmId("", ""));
    EXPECT_EQ(0U, VmId("\n", " \n"));
}

std::string Content(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(VmId, OfThisMachineIsMadeFromItsFiles) {
    EXPECT_EQ(VmId(Content("/sys/class/dmi/id/product_uuid"), Content("/etc/machine-id")),
              nox_get_vmidid());
}

// In a child process with mounts of its own.
TEST(VmId, IsNotWaitedForWhenItsFileIsAPipe) {
    constexpr int kNotPermitted = 2;
    const std::string pipe = kxtest::InstallationRoot() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int status = kxtest::ExitOf(kxtest::InChild([&] {
        if (unshare(CLONE_NEWNS) != 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount(pipe.c_str(), "/etc/machine-id", nullptr, MS_BIND, nullptr) != 0) {
            return kNotPermitted;
        }
        alarm(60);
        return nox_get_vmidid() == VmId(Content("/sys/class/dmi/id/product_uuid"), "") ? 0 : 1;
    }));
    if (status == kNotPermitted) {
        GTEST_SKIP() << "not permitted to mount";
    }
    EXPECT_EQ(status, 0);
}

}  // namespace
