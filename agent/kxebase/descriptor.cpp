#include <unistd.h>

#include <cerrno>
#include <utility>

#include "file_io.h"

namespace kxebase {

int Descriptor::Release() noexcept {
    return std::exchange(value_, -1);
}

int Descriptor::Close() {
    const int value = Release();
    // After EINTR the descriptor is gone all the same.
    return value >= 0 && close(value) != 0 && errno != EINTR ? errno : 0;
}

}  // namespace kxebase
