// A module for the host's tests. Its start fails with the number in KX_FAKE_START, its stop with
// the one in KX_FAKE_STOP; both say on standard output that they were called.
#include <cstdio>
#include <cstdlib>

namespace {

int Called(const char* what, const char* variable) {
    (void)std::printf("%s\n", what);
    const char* code = std::getenv(variable);
    return code == nullptr ? 0 : std::atoi(code);
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int kxepinfo_init() {
    return Called("start", "KX_FAKE_START");
}

#ifndef KX_FAKE_WITHOUT_STOP
__attribute__((visibility("default"))) int kxepinfo_uninit() {
    return Called("stop", "KX_FAKE_STOP");
}
#endif
}
