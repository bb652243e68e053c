#include "kxehost/module.h"

#include <cstdio>
#include <cstdlib>

#include "complaint_line.h"
#include "installation.h"

using kxehost::Module;
using kxehost::ModulePath;

namespace {

std::string ComplaintOfLoading(const std::string& path) {
    ::testing::internal::CaptureStderr();
    Module module;
    EXPECT_FALSE(module.load(path));
    return ::testing::internal::GetCapturedStderr();
}

class ModuleTest : public kxtest::InstallationTest {
  protected:
    void TearDown() override {
        unsetenv("KX_FAKE_START");
        unsetenv("KX_FAKE_STOP");
    }
};

}  // namespace

TEST_F(ModuleTest, PathBeginsAtTheProgramForAnAt) {
    EXPECT_EQ(ModulePath("@/../lib/x.so"),
              (kxtest::InstallationRoot() / "bin").string() + "/../lib/x.so");
}

TEST_F(ModuleTest, PathWithASlashStays) {
    EXPECT_EQ(ModulePath("/a/x.so"), "/a/x.so");
    EXPECT_EQ(ModulePath("a/x.so"), "a/x.so");
}

TEST_F(ModuleTest, BareNameIsAFileHere) {
    EXPECT_EQ(ModulePath("x.so"), "./x.so");
}

TEST_F(ModuleTest, PathMustFit) {
    EXPECT_EQ(ModulePath(std::string(5000, 'x')), "");
    EXPECT_EQ(ModulePath(""), "");
    EXPECT_EQ(ComplaintOfLoading(""), Line("not the path of a module: ''"));
}

TEST_F(ModuleTest, MissingFileIsOneLine) {
    EXPECT_EQ(ComplaintOfLoading("/nonexistent/x.so"),
              Line("cannot load the module: /nonexistent/x.so: cannot open shared object file: No "
                   "such file or directory"));
}

TEST_F(ModuleTest, BrokenFileIsOneLine) {
    const std::string file = kxtest::WriteFile("lib/x.so", "not a library");
    EXPECT_EQ(ComplaintOfLoading(file),
              Line("cannot load the module: " + file + ": file too short"));
}

TEST_F(ModuleTest, StopsWithoutEffectWhenNotStarted) {
    Module module;
    EXPECT_TRUE(module.stop());
}

TEST_F(ModuleTest, IsStartedAndStoppedTimeAndAgain) {
    ::testing::internal::CaptureStdout();
    Module module;
    ASSERT_TRUE(module.load(KX_FAKE_MODULE));
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(module.start());
        EXPECT_TRUE(module.stop());
    }
    EXPECT_TRUE(module.stop());
    std::fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "start\nstop\nstart\nstop\n");
}

TEST_F(ModuleTest, IsStoppedAtTheEnd) {
    ::testing::internal::CaptureStdout();
    {
        Module module;
        ASSERT_TRUE(module.load(KX_FAKE_MODULE));
        EXPECT_TRUE(module.start());
    }
    std::fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "start\nstop\n");
}

TEST_F(ModuleTest, ThatCannotStartIsOneLineAndNotStopped) {
    setenv("KX_FAKE_START", "11", 1);
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    Module module;
    ASSERT_TRUE(module.load(KX_FAKE_MODULE));
    EXPECT_FALSE(module.start());
    EXPECT_TRUE(module.stop());
    std::fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "start\n");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              Line("the module " KX_FAKE_MODULE " cannot start: error code 11"));
}

TEST_F(ModuleTest, ThatDoesNotStopCleanlyIsOneLine) {
    setenv("KX_FAKE_STOP", "-1", 1);
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    Module module;
    ASSERT_TRUE(module.load(KX_FAKE_MODULE));
    EXPECT_TRUE(module.start());
    EXPECT_FALSE(module.stop());
    std::fflush(stdout);
    (void)::testing::internal::GetCapturedStdout();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              Line("the module " KX_FAKE_MODULE " did not stop cleanly: error code -1"));
}

TEST_F(ModuleTest, WithoutAFunctionIsOneLine) {
    EXPECT_EQ(ComplaintOfLoading(KX_FAKE_MODULE_WITHOUT_STOP),
              Line("not a module of this agent: " KX_FAKE_MODULE_WITHOUT_STOP
                   ": undefined symbol: kxepinfo_uninit"));
}
