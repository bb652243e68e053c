/* The header is C: it can stand first in a C11 source file. */
#include "kxe_bpsdk.h"

int HeaderWorksInC(void);

int HeaderWorksInC(void) {
    static const kxe_bp_header header = {.module = "m"};
    kxe_bp_uninit();
    return kxe_bp_trace(&header, "%s", "x") != 0 && kxe_bp_other(1, 0, 1) != 0;
}
