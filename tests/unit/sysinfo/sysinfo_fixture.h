// What every test of the system collector begins with.
#ifndef KXEPINFO_TESTS_UNIT_SYSINFO_SYSINFO_FIXTURE_H
#define KXEPINFO_TESTS_UNIT_SYSINFO_SYSINFO_FIXTURE_H

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cerrno>
#include <string>

#include "fake_agent.h"
#include "installation.h"
#include "log_capture.h"
#include "machine_calls.h"

// An empty installation, an empty log with all levels enabled, and no hook set. In the end no
// child process may be left, running or not yet waited for.
class SysInfoTest : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        kxtest::ResetAgent();
        kxtest::ClearLog();
        Machine() = MachineCalls{};
    }

    void TearDown() override {
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
        Machine() = MachineCalls{};
        kxtest::ResetAgent();
    }

    // As the module writes a path of the installation's.
    static std::string Expanded(const std::string& relative) {
        return (kxtest::InstallationRoot() / "bin" / relative).string();
    }
};

#endif  // KXEPINFO_TESTS_UNIT_SYSINFO_SYSINFO_FIXTURE_H
