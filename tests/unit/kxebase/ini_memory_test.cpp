// INI documents without memory.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <new>
#include <string>

#include "installation.h"
#include "kxe_ini.h"

namespace {

long allocations_left = -1;  // until one is refused; below 0, none is

}  // namespace

// SimpleIni loses the copy of a text when there is no memory for the entry that is to hold it.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:CSimpleIniTempl";
}

void* operator new(std::size_t size) {
    void* const memory =
        allocations_left >= 0 && allocations_left-- == 0 ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

namespace {

struct Free {
    void operator()(kxe_ini_file* file) const { kxe_ini_file_free(file); }
};
using Ini = std::unique_ptr<kxe_ini_file, Free>;

constexpr char kOld[] = "[a]\nx=1\n[b]\ny=2\n";

class IniMemory : public kxtest::InstallationTest {
  protected:
    // What a save leaves after a change for which the allocation of that number, counted from 0,
    // was refused. Empty when the change had need of fewer.
    template <class Change>
    std::string AfterRefused(long allocation, Change change) {
        const std::string path = kxtest::WriteFile("config/x.ini", kOld);
        const Ini ini(kxe_ini_file_load(path.c_str()));
        allocations_left = allocation;
        const int changed = change(ini.get());
        const bool refused = allocations_left < 0;
        allocations_left = -1;
        if (refused && changed != 0) {
            errno = 0;
            EXPECT_EQ(kxe_ini_file_save(ini.get(), path.c_str(), 0), -1);
            EXPECT_EQ(errno, ENOMEM);
        }
        std::ifstream file(path);
        return refused ? std::string(std::istreambuf_iterator<char>(file), {}) : "";
    }

    // The same for every allocation of the change; how many there were.
    template <class Change>
    long ExpectOldFile(Change change) {
        long allocation = 0;
        for (std::string left; !(left = AfterRefused(allocation, change)).empty(); ++allocation) {
            EXPECT_EQ(left, kOld) << allocation;
        }
        return allocation;
    }
};

TEST_F(IniMemory, AValueThatIsMissingKeepsTheDocumentFromBeingSaved) {
    EXPECT_GT(ExpectOldFile([](kxe_ini_file* ini) {
                  return kxe_ini_file_set(ini, "a section of some length", "a key of some length",
                                          "a value of some length");
              }),
              3);
}

TEST_F(IniMemory, ASectionThatIsHalfRemovedKeepsTheDocumentFromBeingSaved) {
    EXPECT_GT(ExpectOldFile([](kxe_ini_file* ini) { return kxe_ini_file_del(ini, "a"); }), 0);
}

TEST_F(IniMemory, ARefusedValueDoesNotKeepTheDocumentFromBeingSaved) {
    const std::string path = kxtest::WriteFile("config/x.ini", kOld);
    const Ini ini(kxe_ini_file_load(path.c_str()));
    EXPECT_EQ(kxe_ini_file_set(ini.get(), "a", "x", "two\nlines"), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(kxe_ini_file_save(ini.get(), path.c_str(), 0), 0);
}

}  // namespace
