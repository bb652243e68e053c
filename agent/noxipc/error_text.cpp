// nox_ipc_strerror.
#include <cstring>

#include "nox_ipc.h"

const char* nox_ipc_strerror(int code) {
    if (code == -1) {
        return "Unspecified error";
    }
    // Unlike strerror it is static for every code, translates nothing and needs no lock.
    const char* const text = strerrordesc_np(code);
    return text == nullptr ? "Unknown error code" : text;
}
