// kxectl support-bundle of whole installations, unpacked by tar.
#include <sys/stat.h>

#include "agent.h"
#include "tiny_disk.h"

namespace kxtest {
namespace {

using testing::HasSubstr;

class SupportBundle : public AgentTest {
  protected:
    std::string File() const { return installation().path("bundle.tar.gz"); }

    std::string Unpacked(const std::string& name) const {
        const Finished finished =
            RunToEnd("/bin/tar", {"-xzOf", File(), "kxepinfo-support/" + name});
        EXPECT_EQ(finished.status, 0) << finished.errors;
        return finished.output;
    }
};

TEST_F(SupportBundle, HoldsWhatIsKnownOfARunningAgent) {
    StartManager();
    StartHost();
    ASSERT_TRUE(Logs("to mgr success"));
    installation().write("config/server.ini", "[config]\naddr=127.0.0.1\npassword=hidden\n");
    const Finished finished = Ctl({"support-bundle", File()});
    ASSERT_EQ(finished.status, 0) << finished.errors;
    EXPECT_EQ(finished.output, "");
    struct stat status {};
    ASSERT_EQ(stat(File().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_EQ(Unpacked("config/server.ini"), "[config]\naddr=127.0.0.1\npassw (left out)\n");
    EXPECT_THAT(Unpacked("left_out.txt"),
                HasSubstr("config/server.ini: 1 places that may hold secrets\n"));
    EXPECT_THAT(Unpacked("status.txt"), HasSubstr("link         online\n"));
    EXPECT_THAT(Unpacked("doctor.txt"), HasSubstr("nobody answers on the bus as agt_cfgc\n"));
    EXPECT_THAT(Unpacked("var/log/agent/kxepinfo/kxepinfo.log"), HasSubstr("to mgr success\n"));
}

TEST_F(SupportBundle, IsMadeWithoutAnAgent) {
    const Finished finished = Ctl({"support-bundle", File()});
    EXPECT_EQ(finished.status, 0) << finished.errors;
    EXPECT_EQ(finished.errors, "");
    EXPECT_THAT(Unpacked("status.txt"), testing::HasSubstr("\nmodule       not there\n"));
}

TEST_F(SupportBundle, ReplacesNothing) {
    installation().write("bundle.tar.gz", "old");
    const Finished finished = Ctl({"support-bundle", File()});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.errors, HasSubstr("cannot make "));
    EXPECT_EQ(installation().read("bundle.tar.gz"), "old");
}

TEST_F(SupportBundle, LeavesNoPartOfItOnAFullDisk) {
    const std::filesystem::path folder = installation().path("disk");
    std::filesystem::create_directories(folder);
    const TinyDisk disk(folder, 4);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "mounting needs rights";
    }
    std::string noise;
    for (unsigned i = 1; noise.size() < 100000; i = i * 1664525U + 1013904223U) {
        noise += static_cast<char>('0' + (i >> 24U) % 64U);
    }
    installation().write("var/log/agent/kxepinfo/kxepinfo.log", noise);
    const Finished finished = Ctl({"support-bundle", folder / "bundle.tar.gz"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.errors, HasSubstr("No space left on device"));
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

}  // namespace
}  // namespace kxtest
