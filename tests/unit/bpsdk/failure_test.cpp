// What the machine refuses: memory, the path of the running program, a format.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cwchar>
#include <filesystem>
#include <new>
#include <string>

#include "installation.h"
#include "kxe_bpsdk.h"

namespace fs = std::filesystem;

namespace {

thread_local bool no_memory = false;
thread_local bool no_program = false;

class Refused : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        ASSERT_EQ(kxe_bp_init(), 0);
    }
    void TearDown() override { kxe_bp_uninit(); }

    static std::string Events() {
        return kxtest::ReadFile(kxtest::InstallationRoot() / "var/trace/events.jsonl");
    }

    const kxe_bp_header header_{};
};

}  // namespace

// The linker puts this in front of operator new for the library.
extern "C" void* __real__Znwm(std::size_t size);
extern "C" void* __wrap__Znwm(std::size_t size);
extern "C" void* __wrap__Znwm(std::size_t size) {
    if (no_memory) {
        throw std::bad_alloc();
    }
    return __real__Znwm(size);
}

// In front of the C library's, to make /proc/self/exe unreadable.
extern "C" ssize_t readlink(const char* path, char* buffer, size_t size) {
    if (no_program) {
        errno = EACCES;
        return -1;
    }
    static const auto next =
        reinterpret_cast<ssize_t (*)(const char*, char*, size_t)>(dlsym(RTLD_NEXT, "readlink"));
    return next(path, buffer, size);
}

TEST_F(Refused, MemoryIsToldByTheResult) {
    const std::string text(1000, 'x');
    no_memory = true;
    const int traced = kxe_bp_trace(&header_, "%s", text.c_str());
    const int other = kxe_bp_other(1, text.data(), 1000);
    const int begun = kxe_bp_init();
    no_memory = false;
    EXPECT_EQ(traced, ENOMEM);
    EXPECT_EQ(other, ENOMEM);
    EXPECT_EQ(begun, ENOMEM);
    EXPECT_EQ(Events(), "");
}

TEST_F(Refused, WithoutTheProgramsPathThereIsNoPlaceForEvents) {
    no_program = true;
    const int traced = kxe_bp_trace(&header_, "x");
    const int begun = kxe_bp_init();
    no_program = false;
    EXPECT_EQ(traced, EACCES);
    EXPECT_EQ(begun, EACCES);
    EXPECT_EQ(Events(), "");
}

TEST_F(Refused, AFormatThatCannotBeFollowedIsToldByTheResult) {
    EXPECT_EQ(kxe_bp_trace(&header_, "%lc", static_cast<std::wint_t>(0x110000)), EILSEQ);
    EXPECT_EQ(Events(), "");
}

TEST_F(Refused, ADirectoryInTheFilesPlaceIsToldByTheResult) {
    fs::create_directory(kxtest::InstallationRoot() / "var/trace/events.jsonl");
    EXPECT_EQ(kxe_bp_trace(&header_, "x"), EISDIR);
}

TEST_F(Refused, ALinkToNowhereInTheDirectorysPlaceIsToldByTheResult) {
    const fs::path var = kxtest::InstallationRoot() / "var";
    fs::remove_all(var);
    fs::create_symlink("nowhere", var);
    EXPECT_EQ(kxe_bp_trace(&header_, "x"), ENOENT);
}
