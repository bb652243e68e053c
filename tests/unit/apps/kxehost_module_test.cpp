#include "kxehost/module.h"

#include <cerrno>

#include "installation.h"

using kxehost::Module;
using kxehost::ModulePath;

namespace {

std::string Line(const std::string& text) {
    return std::string(program_invocation_short_name) + ": " + text + "\n";
}

std::string ComplaintOfLoading(const std::string& path) {
    ::testing::internal::CaptureStderr();
    Module module;
    EXPECT_FALSE(module.load(path));
    return ::testing::internal::GetCapturedStderr();
}

class ModuleTest : public kxtest::InstallationTest {};

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
