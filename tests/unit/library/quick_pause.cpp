// In front of the C library's: the module's pause between two passes of the event loop is short.
#include <time.h>
#include <unistd.h>

extern "C" __attribute__((visibility("default"))) int usleep(useconds_t /*microseconds*/) {
    constexpr timespec kMillisecond = {.tv_sec = 0, .tv_nsec = 1'000'000};
    return nanosleep(&kMillisecond, nullptr);
}
