// In front of the C library's: the second in which processor load is sampled takes no time.
#include <unistd.h>

extern "C" __attribute__((visibility("default"))) unsigned sleep(unsigned /*seconds*/) {
    return 0;
}
