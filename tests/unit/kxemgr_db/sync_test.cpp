// When the kernel is asked to bring an upload to the disk. The two functions here take the place of
// the C library's, for SQLite too.
#include <dlfcn.h>

#include "database_fixture.h"

namespace {

int synchronised = 0;

int Pass(const char* name, int descriptor) {
    ++synchronised;
    return reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, name))(descriptor);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int fsync(int descriptor) {
    return Pass("fsync", descriptor);
}

extern "C" __attribute__((visibility("default"))) int fdatasync(int descriptor) {
    return Pass("fdatasync", descriptor);
}

namespace kxtest {
namespace {

using Synchronising = DatabaseTest;

TEST_F(Synchronising, EachUploadIsBroughtToTheDiskBeforeItCountsAsKept) {
    const auto database = Open();
    for (int i = 0; i < 3; ++i) {
        synchronised = 0;
        Keep(*database, UploadOfMachine(1, 1));
        EXPECT_GE(synchronised, 1) << i;
    }
}

}  // namespace
}  // namespace kxtest
