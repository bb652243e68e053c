// A bus library that knows one id, KX_HOST_ID.
#include <cstdint>

extern "C" __attribute__((visibility("default"))) uint32_t nox_get_hostid(void);
extern "C" uint32_t nox_get_hostid(void) {
    return KX_HOST_ID;
}
