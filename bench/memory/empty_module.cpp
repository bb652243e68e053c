// The host's module without a module: starts and stops, and that is all.
#include "kxepinfo.h"

int kxepinfo_init(void) {
    return 0;
}

int kxepinfo_uninit(void) {
    return 0;
}
