#include "kxectl/input.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "complaint_line.h"
#include "installation.h"

using kxectl::ReadInput;
using namespace std::string_literals;

namespace {

class Input : public kxtest::InstallationTest {};

}  // namespace

TEST_F(Input, IsTheWholeFile) {
    const std::string content = std::string(200'000, 'x') + "\0\n"s;
    EXPECT_EQ(ReadInput(kxtest::WriteFile("in", content)), content);
    EXPECT_EQ(ReadInput(kxtest::WriteFile("in", "")), "");
}

TEST_F(Input, IsStandardInputForADash) {
    const std::string file = kxtest::WriteFile("in", "content");
    ASSERT_NE(std::freopen(file.c_str(), "r", stdin), nullptr);
    EXPECT_EQ(ReadInput("-"), "content");
}

TEST_F(Input, IsLimited) {
    const std::string file = kxtest::WriteFile("in", "");
    std::filesystem::resize_file(file, 16 * 1024 * 1024);
    EXPECT_TRUE(ReadInput(file).has_value());
    std::filesystem::resize_file(file, 16 * 1024 * 1024 + 1);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(ReadInput(file), std::nullopt);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              Line("cannot read " + file + ": more than 16 MiB"));
}

TEST_F(Input, MustBeReadable) {
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(ReadInput("/nonexistent"), std::nullopt);
    EXPECT_EQ(ReadInput("/"), std::nullopt);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              Line("cannot read /nonexistent: No such file or directory") +
                  Line("cannot read /: Is a directory"));
}
