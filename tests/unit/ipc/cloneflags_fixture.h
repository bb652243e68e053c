// What the tests of the clone flags share: where they are, and what is logged of them.
#ifndef KXEPINFO_TESTS_UNIT_IPC_CLONEFLAGS_FIXTURE_H
#define KXEPINFO_TESTS_UNIT_IPC_CLONEFLAGS_FIXTURE_H

#include <filesystem>

#include "ipc_fixture.h"

namespace kxtest {

class CloneFlagsTest : public IpcTest {
  protected:
    void SetUp() override {
        IpcTest::SetUp();
        std::filesystem::create_directory(config);
    }

    const std::filesystem::path config = InstallationRoot() / "config";
    const std::filesystem::path clone = config / "clone_flag";
    const std::filesystem::path recalculation = config / "recalculate_agentid";

    const LogLine kDuplicate{3, "kxepinfo", "duplicate:1"};
    const LogLine kRecalculate{3, "kxepinfo", "recalculate"};
    // The path as the module expands it.
    const LogLine kCannotOpen{
        1, "kxepinfo",
        "fail to open: " + (InstallationRoot() / "bin/../config/clone_flag").string()};
    const LogLine kCannotWrite{1, "kxepinfo", "create clone_flag"};
    const LogLine kNoCloneFlag{2, "kxepinfo", "fail to touch clone_flag"};
    const LogLine kNoRecalculation{2, "kxepinfo", "fail to touch recalculate flag"};
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_UNIT_IPC_CLONEFLAGS_FIXTURE_H
