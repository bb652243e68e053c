// The input is the content of the login accounting file. The C library's own reader must find the
// same in it.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "c_library_wtmp.h"
#include "collectors/procfile.h"
#include "collectors/userlog.h"

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// A file in memory.
int Descriptor() {
    static const int descriptor = memfd_create("wtmp", MFD_CLOEXEC);
    return descriptor;
}

std::string Path() {
    return "/proc/self/fd/" + std::to_string(Descriptor());
}

void LayDown(const uint8_t* data, size_t size) {
    Require(ftruncate(Descriptor(), 0) == 0);
    Require(pwrite(Descriptor(), data, size, 0) == static_cast<ssize_t>(size));
}

}  // namespace

File OpenForReading(const char* /*path*/) {
    return File(std::fopen(Path().c_str(), "re"));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    LayDown(data, size);
    _stUsrLogInfo expected;
    const int expected_result = kxtest::ReadWithTheCLibrary(Path().c_str(), expected);
    _stUsrLogInfo login;
    Require(GetLogUsrInfo(login) == expected_result);
    Require(login.login_time == expected.login_time);
    Require(login.login_name == expected.login_name);
    Require(login.login_ip == expected.login_ip);
    return 0;
}
