// Expansion of "@", and what is found through it.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <ostream>
#include <string>

#include "installation.h"
#include "kxe_base.h"

namespace {

bool hide_executable = false;

std::string Directory() {
    return (kxtest::InstallationRoot() / "bin").string();
}

}  // namespace

// In front of the C library's, to make /proc/self/exe unreadable.
extern "C" ssize_t readlink(const char* path, char* buffer, size_t size) {
    if (hide_executable) {
        errno = EACCES;
        return -1;
    }
    static const auto next =
        reinterpret_cast<ssize_t (*)(const char*, char*, size_t)>(dlsym(RTLD_NEXT, "readlink"));
    return next(path, buffer, size);
}

// Both names of the function.
struct TransformFunction {
    const char* name;
    void (*transform)(const char*, char*, size_t);
};
void PrintTo(const TransformFunction& function, std::ostream* out) {
    *out << function.name;
}
class Transform : public ::testing::TestWithParam<TransformFunction> {
  protected:
    static std::string Expand(const char* in) {
        char out[4096];
        GetParam().transform(in, out, sizeof out);
        return out;
    }
};

TEST_P(Transform, ALoneAtIsTheDirectoryOfTheExecutable) {
    EXPECT_EQ(Expand("@"), Directory());
}

TEST_P(Transform, ALeadingAtIsReplaced) {
    EXPECT_EQ(Expand("@/../config/server.ini"), Directory() + "/../config/server.ini");
}

TEST_P(Transform, OtherPathsStayAsTheyAre) {
    EXPECT_EQ(Expand("relative/@x"), "relative/@x");
    EXPECT_EQ(Expand("/abs/x"), "/abs/x");
    EXPECT_EQ(Expand(""), "");
}

TEST_P(Transform, TheRootStandsForADirectoryThatCannotBeFound) {
    hide_executable = true;
    const std::string expanded = Expand("@/x");
    hide_executable = false;
    EXPECT_EQ(expanded, "//x");
}

TEST_P(Transform, LongOutputIsCut) {
    char out[9] = "########";
    GetParam().transform("/abs/long/path", out, 8);
    EXPECT_STREQ(out, "/abs/lo");
    char at[9] = "########";
    GetParam().transform("@/x", at, 8);
    EXPECT_EQ(std::string(at), Directory().substr(0, 7));
}

TEST_P(Transform, NullAndNoRoomAreHarmless) {
    char out[4] = "abc";
    GetParam().transform("@/x", out, 0);
    EXPECT_STREQ(out, "abc");
    GetParam().transform("@/x", nullptr, 8);
    GetParam().transform(nullptr, out, sizeof out);
    EXPECT_STREQ(out, "");
}

INSTANTIATE_TEST_SUITE_P(
    , Transform,
    ::testing::Values(TransformFunction{"kxe_dirutils_path_transform", kxe_dirutils_path_transform},
                      TransformFunction{"dirutils_path_transform", dirutils_path_transform}),
    [](const auto& instance) { return instance.param.name; });

using ContainerEdition = kxtest::InstallationTest;

TEST_F(ContainerEdition, IsToldByAFile) {
    EXPECT_EQ(IsCNAPPAgent(), 0);
    kxtest::WriteFile("config/cnapp", "");
    EXPECT_EQ(IsCNAPPAgent(), 1);
}
