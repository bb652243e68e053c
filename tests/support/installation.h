// The installation that a unit test runs in. The main function of every unit-test program makes a
// temporary directory, links the program into its bin/ and runs it from there, so that "@" paths
// lead into a place of the test's own.
#ifndef KXEPINFO_TESTS_SUPPORT_INSTALLATION_H
#define KXEPINFO_TESTS_SUPPORT_INSTALLATION_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace kxtest {

// The installation's root, the parent of bin/.
std::filesystem::path InstallationRoot();

// Writes a file below the root, its directories made when missing; returns its path.
std::filesystem::path WriteFile(const std::filesystem::path& relative, std::string_view content);

// The whole content of a file, empty when it cannot be read.
std::string ReadFile(const std::filesystem::path& path);

// Removes everything of the installation but the running program.
void ClearInstallation();

// Starts each test with an empty installation.
class InstallationTest : public ::testing::Test {
  protected:
    void SetUp() override { ClearInstallation(); }
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_INSTALLATION_H
